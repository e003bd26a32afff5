#include "desk/terminal/signals.h"

#include <cstddef>

namespace corvessa::desk {
namespace {

constexpr int kHeld[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP};

volatile std::sig_atomic_t g_first = 0;

void Catch(int signal) {
  if (signal == SIGTSTP || g_first == 0 || g_first == SIGTSTP) {
    g_first = signal;
    return;
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

CaughtSignals::CaughtSignals(std::initializer_list<int> signals) {
  std::size_t place = 0;
  for (const int signal : signals) {
    struct sigaction action {};
    action.sa_handler = Catch;
    // Only what waits for a person is to notice.
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, &earlier_[place]);
    if (earlier_[place].sa_handler == SIG_IGN) sigaction(signal, &earlier_[place], nullptr);
    signals_[place++] = signal;
  }
}

CaughtSignals::~CaughtSignals() {
  for (std::size_t i = 0; i < kMostSignals && signals_[i] != 0; ++i) {
    sigaction(signals_[i], &earlier_[i], nullptr);
  }
}

int CaughtSignals::First() {
  return g_first;
}

int CaughtSignals::Take() {
  const int first = g_first;
  g_first = 0;
  return first;
}

HeldSignals::HeldSignals() {
  sigset_t held;
  sigemptyset(&held);
  for (const int signal : kHeld) sigaddset(&held, signal);
  sigprocmask(SIG_BLOCK, &held, &earlier_mask_);
  wait_mask_ = earlier_mask_;
  for (const int signal : kHeld) sigdelset(&wait_mask_, signal);
}

HeldSignals::~HeldSignals() {
  // One that came in too late to be caught is delivered here, to whom it belongs.
  sigprocmask(SIG_SETMASK, &earlier_mask_, nullptr);
}

}  // namespace corvessa::desk
