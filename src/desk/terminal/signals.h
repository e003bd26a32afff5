#pragma once

#include <chrono>
#include <csignal>
#include <functional>

#include "posix/deadline.h"

/// How the program ends early: by signals, which wait until it has cleaned up, and when a
/// decryption takes too long.
namespace corvessa::desk {

/// Catches the signals that end the process: the program may be in the middle of a message and has
/// to clean up first. The first one is noted. If nobody takes it, the process ends after a few
/// seconds wherever it hangs, or at once on a second keyboard interrupt; CleanUp runs first in both
/// cases. Signals that the process was started to ignore stay ignored. Objects may be nested.
class CaughtSignals {
 public:
  CaughtSignals() : CaughtSignals(false) {}
  /// Also catches the signal that stops the process.
  static CaughtSignals WithStop() { return CaughtSignals(true); }
  ~CaughtSignals();
  CaughtSignals(const CaughtSignals&) = delete;
  CaughtSignals& operator=(const CaughtSignals&) = delete;

  /// The signal that came in; 0 for none.
  static int First();
  /// Returns First and forgets it. A taken interrupt no longer ends the process.
  static int Take();

 private:
  explicit CaughtSignals(bool with_stop);

  bool with_stop_;
  struct sigaction earlier_[5]{};
};

/// Blocks the signals of CaughtSignals, so that none comes in between a look at First and the wait
/// for input.
class HeldSignals {
 public:
  HeldSignals();
  ~HeldSignals();
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  /// For ppoll, the only call during which they come in.
  const sigset_t* WaitMask() const { return &wait_mask_; }

 private:
  sigset_t earlier_mask_;
  sigset_t wait_mask_;
};

/// Sets what CleanUp does while it lives. One at a time.
class CleanUpAction {
 public:
  explicit CleanUpAction(std::function<void()> action);
  ~CleanUpAction();
  CleanUpAction(const CleanUpAction&) = delete;
  CleanUpAction& operator=(const CleanUpAction&) = delete;
};

/// Runs the action of CleanUpAction, if any, before the process ends in the middle of its work.
/// Called from another thread than that work.
void CleanUp();

/// Ends the process with a line and exit code 1 if it uses more processor time than this while it
/// lives.
class WorkLimit {
 public:
  explicit WorkLimit(std::chrono::nanoseconds processor_time);

 private:
  posix::Deadline deadline_;
};

}  // namespace corvessa::desk
