#pragma once

#include <termios.h>

#include "desk/terminal/signals.h"

namespace corvessa::desk {

/// Turns a terminal's echo off until its end. Signals, the one that stops the process among them,
/// are caught, and come in only while input is waited for, so that none leaves the terminal mute.
/// What is no terminal is left alone.
class EchoOff {
 public:
  explicit EchoOff(int terminal);
  ~EchoOff();
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  CaughtSignals caught_ = CaughtSignals::WithStop();
  HeldSignals held_;
  int terminal_;
  bool is_terminal_ = false;
  termios earlier_modes_{};
};

}  // namespace corvessa::desk
