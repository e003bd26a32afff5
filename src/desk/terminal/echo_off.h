#pragma once

#include <csignal>
#include <termios.h>

namespace corvessa::desk {

/// Turns a terminal's echo off until its end. The signals that end or stop the process are held
/// back meanwhile, so that none of them leaves the terminal mute: a caller that waits with WaitMask
/// notices one by Caught, ends this object and sees to it. At most one at a time. What is no
/// terminal is left alone.
class EchoOff {
 public:
  explicit EchoOff(int terminal);
  ~EchoOff();
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

  /// For ppoll: the only moment at which the signals may come in.
  const sigset_t* WaitMask() const { return &earlier_mask_; }
  /// The signal that came in; 0 for none.
  static int Caught();

 private:
  int terminal_;
  bool is_terminal_ = false;
  termios earlier_modes_{};
  sigset_t earlier_mask_{};
  struct sigaction earlier_actions_[6]{};
};

}  // namespace corvessa::desk
