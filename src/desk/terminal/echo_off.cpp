#include "desk/terminal/echo_off.h"

#include <iterator>

namespace corvessa::desk {
namespace {

constexpr int kSignals[6] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGTSTP};

volatile std::sig_atomic_t g_caught = 0;

void Catch(int signal) {
  g_caught = signal;
}

}  // namespace

EchoOff::EchoOff(int terminal) : terminal_(terminal) {
  g_caught = 0;
  sigset_t held;
  sigemptyset(&held);
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    sigaddset(&held, kSignals[i]);
    struct sigaction action {};
    action.sa_handler = Catch;
    sigaction(kSignals[i], &action, &earlier_actions_[i]);
    // What the process was started to ignore stays ignored.
    if (earlier_actions_[i].sa_handler == SIG_IGN) {
      sigaction(kSignals[i], &earlier_actions_[i], nullptr);
    }
  }
  sigprocmask(SIG_BLOCK, &held, &earlier_mask_);
  is_terminal_ = tcgetattr(terminal_, &earlier_modes_) == 0;
  if (!is_terminal_) return;
  termios mute = earlier_modes_;
  mute.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
  // What was typed ahead was shown, so it was not meant as a secret: it is thrown away.
  tcsetattr(terminal_, TCSAFLUSH, &mute);
}

EchoOff::~EchoOff() {
  if (is_terminal_) tcsetattr(terminal_, TCSADRAIN, &earlier_modes_);
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], &earlier_actions_[i], nullptr);
  }
  // One that came in too late to be caught is delivered here, to whom it belongs.
  sigprocmask(SIG_SETMASK, &earlier_mask_, nullptr);
}

int EchoOff::Caught() {
  return g_caught;
}

}  // namespace corvessa::desk
