#include "desk/terminal/signals.h"

#include <chrono>
#include <cstddef>
#include <iterator>
#include <mutex>
#include <string_view>
#include <unistd.h>
#include <utility>

#include "base/guard.h"

namespace corvessa::desk {
namespace {

/// How long a program that was asked to end may take to clean up.
constexpr std::chrono::seconds kCleanUpTime{5};

constexpr int kSignals[5] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP};

volatile std::sig_atomic_t g_first = 0;

std::mutex g_action_mutex;
std::function<void()> g_action;

void SetAction(std::function<void()> action) {
  const std::lock_guard lock(g_action_mutex);
  g_action = std::move(action);
}

void Abort() {
  CleanUp();
  static constexpr std::string_view kComplaint =
      "corvessa-desk: decryption takes too long; aborted\n";
  const ssize_t ignored = write(STDERR_FILENO, kComplaint.data(), kComplaint.size());
  static_cast<void>(ignored);
  _exit(1);
}

void EndBy(int signal) {
  std::signal(signal, SIG_DFL);
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  sigprocmask(SIG_UNBLOCK, &only, nullptr);
  std::raise(signal);
}

const posix::Deadline& EndDeadline() {
  static const posix::Deadline deadline(CLOCK_MONOTONIC, [] {
    if (g_first == 0) return;  // taken just in time
    CleanUp();
    EndBy(g_first);
  });
  return deadline;
}

void Catch(int signal) {
  if (signal == SIGTSTP) {
    if (g_first == 0) g_first = signal;
    return;
  }
  if (g_first == 0 || g_first == SIGTSTP) {
    g_first = signal;
    EndDeadline().Start(kCleanUpTime);
  } else if (signal == SIGINT) {
    // The user insists. Other signals may come in twice on their own, as when a terminal is closed.
    EndDeadline().Start(std::chrono::nanoseconds(1));
  }
}

/// Blocks the signals and returns the mask before.
sigset_t Block() {
  sigset_t caught;
  sigemptyset(&caught);
  for (const int signal : kSignals) sigaddset(&caught, signal);
  sigset_t earlier;
  sigprocmask(SIG_BLOCK, &caught, &earlier);
  return earlier;
}

sigset_t WithoutCaught(sigset_t mask) {
  for (const int signal : kSignals) sigdelset(&mask, signal);
  return mask;
}

}  // namespace

CaughtSignals::CaughtSignals(bool with_stop) : with_stop_(with_stop) {
  EndDeadline();  // created now: a signal handler cannot
  static_assert(std::size(kSignals) == std::size(decltype(earlier_){}));
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    if (kSignals[i] == SIGTSTP && !with_stop_) continue;
    struct sigaction action {};
    action.sa_handler = Catch;
    // Only a wait for the user must notice.
    action.sa_flags = SA_RESTART;
    sigaction(kSignals[i], &action, &earlier_[i]);
    if (earlier_[i].sa_handler == SIG_IGN) sigaction(kSignals[i], &earlier_[i], nullptr);
  }
}

CaughtSignals::~CaughtSignals() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    if (kSignals[i] != SIGTSTP || with_stop_) sigaction(kSignals[i], &earlier_[i], nullptr);
  }
}

int CaughtSignals::First() {
  return g_first;
}

int CaughtSignals::Take() {
  const int first = g_first;
  g_first = 0;
  if (first == SIGINT) EndDeadline().Stop();
  return first;
}

HeldSignals::HeldSignals() : earlier_mask_(Block()), wait_mask_(WithoutCaught(earlier_mask_)) {}

HeldSignals::~HeldSignals() {
  // A signal that came in too late to be caught is delivered here, to its old handler.
  sigprocmask(SIG_SETMASK, &earlier_mask_, nullptr);
}

CleanUpAction::CleanUpAction(std::function<void()> action) {
  SetAction(std::move(action));
}

CleanUpAction::~CleanUpAction() {
  SetAction({});
}

void CleanUp() {
  const std::lock_guard lock(g_action_mutex);
  if (g_action) Ignoring(g_action);
}

WorkLimit::WorkLimit(std::chrono::nanoseconds processor_time)
    : deadline_(CLOCK_PROCESS_CPUTIME_ID, &Abort) {
  deadline_.Start(processor_time);
}

}  // namespace corvessa::desk
