#include "windows_engine/worker.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <process.h>
#include <system_error>
#include <utility>
#include <windows.h>

#include "base/error.h"
#include "win32/module.h"

namespace corvessa::windows {
namespace {

using Duration = std::chrono::nanoseconds;

// A thread looks at what it waits for that long before it sleeps: most calls are over sooner than
// the system wakes a thread, and no user sees a window wait for that time.
constexpr auto kCallerSpin = std::chrono::milliseconds(15);
constexpr auto kWorkerSpin = std::chrono::microseconds(100);
// How often a waiting thread looks at the processor time.
constexpr DWORD kLookMilliseconds = 200;
// A window that never gets itself painted must not keep the thread from looking at its work.
constexpr int kMessagesAtOnce = 50;

/// An event of the system that a wait for it resets.
class Event {
 public:
  Event() : handle_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {
    if (!handle_) throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
  }
  ~Event() { CloseHandle(handle_); }
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  HANDLE Get() const { return handle_; }
  void Set() const { SetEvent(handle_); }
  void Wait() const { WaitForSingleObject(handle_, INFINITE); }

 private:
  HANDLE handle_;
};

/// Something to be done on one thread for another.
struct Task {
  explicit Task(Worker::Work what) : work(std::move(what)) {}

  void Do() noexcept {
    try {
      work();
    } catch (...) {
      failure = std::current_exception();
    }
    // The objects of the work end on the thread that has used them.
    work = nullptr;
    is_done = true;
  }
  void Rethrow() const {
    if (failure) std::rethrow_exception(failure);
  }

  Worker::Work work;
  std::exception_ptr failure;
  std::atomic<bool> is_done = false;
};

struct Job : Task {
  Job(Worker::Work what, Duration most) : Task(std::move(what)), limit(most) {}

  Duration limit;
};

bool HasTwoProcessors() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return info.dwNumberOfProcessors > 1;
}

/// Waits without sleeping, up to `most`, where the other thread has a processor of its own.
template <typename Condition>
void SpinUntil(Condition is_met, Duration most) {
  using Clock = std::chrono::steady_clock;
  static const bool can_spin = HasTwoProcessors();
  if (!can_spin) return;
  for (const auto end = Clock::now() + most; !is_met() && Clock::now() < end;) YieldProcessor();
}

Duration ProcessorTime(HANDLE thread) {
  const auto hundreds = [](const FILETIME& time) {
    return (std::int64_t{time.dwHighDateTime} << 32) + time.dwLowDateTime;
  };
  FILETIME created;
  FILETIME ended;
  FILETIME kernel{};
  FILETIME user{};
  if (!GetThreadTimes(thread, &created, &ended, &kernel, &user)) return {};
  return Duration((hundreds(kernel) + hundreds(user)) * 100);
}

/// False when the program is about to quit, which its own message loop has to see again.
bool LetThrough(UINT kind) {
  MSG message;
  for (int count = 0; count < kMessagesAtOnce; ++count) {
    if (!PeekMessageW(&message, nullptr, kind, kind, PM_REMOVE)) return true;
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return false;
    }
    DispatchMessageW(&message);
  }
  return true;
}

/// Looking for messages also delivers those that other threads wait for to be handled.
void LetSentMessagesThrough() {
  MSG message;
  PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
}

}  // namespace

/// What the thread shares with the worker; it lives as long as either.
struct Worker::State {
  ~State() {
    if (thread) CloseHandle(thread);
  }

  static unsigned __stdcall ThreadMain(void* shared);
  std::shared_ptr<Job> NextJob();
  void OnCaller(Work what);

  void Add(std::shared_ptr<Job> job);
  void WaitFor(const Job& job);
  void MakeCall();
  void TellCaller() const;
  bool MayCommit();
  void GiveUpIfTooLong();

  HANDLE thread = nullptr;
  Event has_work;  ///< or is to end
  Event answered;
  Event progress;  ///< for the one that waits: work is done, or there is a call
  std::mutex mutex;
  std::deque<std::shared_ptr<Job>> jobs;
  std::shared_ptr<Job> current;
  std::shared_ptr<Job> watched;  ///< the last job whose processor time was looked at
  Duration used_before{};        ///< processor time of the thread when that was first done
  Task* call = nullptr;
  std::atomic<bool> has_jobs = false;
  std::atomic<int> sleeping_callers = 0;
  bool is_asleep = false;
  bool is_committing = false;
  bool is_calling = false;
  bool is_ending = false;
  std::atomic<bool> is_given_up = false;

  static inline thread_local State* of_this_thread = nullptr;
};

unsigned __stdcall Worker::State::ThreadMain(void* shared) {
  const std::unique_ptr<std::shared_ptr<State>> state(static_cast<std::shared_ptr<State>*>(shared));
  of_this_thread = state->get();
  while (const auto job = (*state)->NextJob()) {
    job->Do();
    (*state)->TellCaller();
  }
  return 0;
}

std::shared_ptr<Job> Worker::State::NextJob() {
  while (true) {
    SpinUntil([&] { return has_jobs.load(); }, kWorkerSpin);
    {
      const std::lock_guard lock(mutex);
      current = nullptr;
      is_committing = false;
      if (is_ending) return nullptr;
      if (!jobs.empty()) {
        current = std::move(jobs.front());
        jobs.pop_front();
        has_jobs = !jobs.empty();
        return current;
      }
      is_asleep = true;
    }
    has_work.Wait();
  }
}

void Worker::State::TellCaller() const {
  if (sleeping_callers > 0) progress.Set();
}

bool Worker::State::MayCommit() {
  const std::lock_guard lock(mutex);
  is_committing = !is_given_up;
  return is_committing;
}

void Worker::State::OnCaller(Work what) {
  Task task(std::move(what));
  {
    const std::lock_guard lock(mutex);
    if (!is_given_up) call = &task;
  }
  TellCaller();
  answered.Wait();
  if (!task.is_done) Raise(RPC_E_CALL_CANCELED, "The operation took too long.");
  task.Rethrow();
}

void Worker::State::Add(std::shared_ptr<Job> job) {
  const std::lock_guard lock(mutex);
  // The thread is in the middle of work that waits for a call, which this one has come out of.
  if (is_calling) Raise(RPC_E_CALL_REJECTED, "The engine waits for an answer.");
  jobs.push_back(std::move(job));
  has_jobs = true;
  if (std::exchange(is_asleep, false)) has_work.Set();
}

void Worker::State::WaitFor(const Job& job) {
  SpinUntil([&] { return job.is_done || is_given_up; }, kCallerSpin);
  bool is_quitting = false;
  const HANDLE event = progress.Get();
  ++sleeping_callers;
  // A call may have come before anybody slept.
  MakeCall();
  while (!job.is_done && !is_given_up) {
    const DWORD kinds = is_quitting ? QS_SENDMESSAGE : QS_SENDMESSAGE | QS_PAINT | QS_TIMER;
    if (MsgWaitForMultipleObjectsEx(1, &event, kLookMilliseconds, kinds, 0) == WAIT_OBJECT_0) {
      MakeCall();
      continue;
    }
    LetSentMessagesThrough();
    is_quitting = is_quitting || !LetThrough(WM_PAINT) || !LetThrough(WM_TIMER);
    GiveUpIfTooLong();
  }
  --sleeping_callers;
}

void Worker::State::MakeCall() {
  Task* task = nullptr;
  {
    const std::lock_guard lock(mutex);
    task = std::exchange(call, nullptr);
    is_calling = task != nullptr;
  }
  if (!task) return;
  task->Do();
  {
    const std::lock_guard lock(mutex);
    is_calling = false;
  }
  answered.Set();
}

void Worker::State::GiveUpIfTooLong() {
  const std::lock_guard lock(mutex);
  if (!current || current->is_done || is_committing || is_given_up) return;
  const Duration used = ProcessorTime(thread);
  if (std::exchange(watched, current) != current) used_before = used;
  if (used - used_before <= current->limit) return;
  // The thread runs this module's code until its work ends, if ever: never unload it.
  win32::PinModule();
  SetThreadPriority(thread, THREAD_PRIORITY_IDLE);
  is_given_up = true;
  is_ending = true;
  jobs.clear();
  call = nullptr;
  answered.Set();
}

Worker::Worker() : state_(std::make_shared<State>()) {
  auto shared = std::make_unique<std::shared_ptr<State>>(state_);
  const auto thread = _beginthreadex(nullptr, 0, &State::ThreadMain, shared.get(), 0, nullptr);
  if (thread == 0) throw std::system_error(errno, std::generic_category());
  state_->thread = reinterpret_cast<HANDLE>(thread);
  shared.release();
}

Worker::~Worker() {
  if (state_->is_given_up) return;
  {
    const std::lock_guard lock(state_->mutex);
    state_->is_ending = true;
  }
  state_->has_work.Set();
  WaitForSingleObject(state_->thread, INFINITE);
}

bool Worker::Run(Work work, Duration limit) {
  // What comes in meanwhile may let go of this worker.
  const auto state = state_;
  const auto job = std::make_shared<Job>(std::move(work), limit);
  state->Add(job);
  state->WaitFor(*job);
  if (!job->is_done) return false;
  job->Rethrow();
  return true;
}

bool Worker::IsGivenUp() const {
  return state_->is_given_up;
}

void Worker::OnCaller(Work call) {
  State::of_this_thread->OnCaller(std::move(call));
}

bool Worker::MayCommit() {
  auto* const state = State::of_this_thread;
  return !state || state->MayCommit();
}

}  // namespace corvessa::windows
