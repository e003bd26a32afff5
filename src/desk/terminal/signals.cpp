#include "desk/terminal/signals.h"

#include <chrono>
#include <cstddef>
#include <iterator>

#include "desk/terminal/sudden_end.h"
#include "posix/deadline.h"

namespace corvessa::desk {
namespace {

/// Who asked for the end is not kept waiting for longer.
constexpr std::chrono::seconds kTimeToTidyUp{5};

constexpr int kSignals[5] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP};

volatile std::sig_atomic_t g_first = 0;

void EndBy(int signal) {
  std::signal(signal, SIG_DFL);
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  sigprocmask(SIG_UNBLOCK, &only, nullptr);
  std::raise(signal);
}

const posix::Deadline& TheEnd() {
  static const posix::Deadline deadline(CLOCK_MONOTONIC, [] {
    if (g_first == 0) return;  // taken at the last moment
    TidyUp();
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
    TheEnd().Start(kTimeToTidyUp);
  } else if (signal == SIGINT) {
    // Somebody insists. Others may come in twice by themselves, as when a terminal is closed.
    TheEnd().Start(std::chrono::nanoseconds(1));
  }
}

}  // namespace

CaughtSignals::CaughtSignals(bool with_stop) : with_stop_(with_stop) {
  TheEnd();  // made now: a signal handler cannot
  static_assert(std::size(kSignals) == std::size(decltype(earlier_){}));
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    if (kSignals[i] == SIGTSTP && !with_stop_) continue;
    struct sigaction action {};
    action.sa_handler = Catch;
    // Only what waits for a person is to notice.
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
  if (first == SIGINT) TheEnd().Stop();
  return first;
}

HeldSignals::HeldSignals() {
  sigset_t held;
  sigemptyset(&held);
  for (const int signal : kSignals) sigaddset(&held, signal);
  sigprocmask(SIG_BLOCK, &held, &earlier_mask_);
  wait_mask_ = earlier_mask_;
  for (const int signal : kSignals) sigdelset(&wait_mask_, signal);
}

HeldSignals::~HeldSignals() {
  // One that came in too late to be caught is delivered here, to whom it belongs.
  sigprocmask(SIG_SETMASK, &earlier_mask_, nullptr);
}

}  // namespace corvessa::desk
