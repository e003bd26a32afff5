#include "desk/terminal/echo_off.h"

namespace corvessa::desk {

EchoOff::EchoOff(int terminal) : terminal_(terminal) {
  is_terminal_ = tcgetattr(terminal_, &earlier_modes_) == 0;
  if (!is_terminal_) return;
  termios mute = earlier_modes_;
  mute.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
  // What was typed ahead was shown, so it was not meant as a secret: it is thrown away.
  tcsetattr(terminal_, TCSAFLUSH, &mute);
}

EchoOff::~EchoOff() {
  if (is_terminal_) tcsetattr(terminal_, TCSADRAIN, &earlier_modes_);
}

}  // namespace corvessa::desk
