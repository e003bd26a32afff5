#pragma once

#include <csignal>

namespace corvessa::desk {

/// Takes the signals that end the process in its place while it lives: the program may be halfway
/// through a message and has to tidy up first. The first one is noted. A few seconds later the
/// process ends all the same, wherever it hangs, and at the keyboard's next interrupt at once, both
/// with TidyUp; but it goes on when an interrupt was taken until then. What the process was started
/// to ignore stays ignored. They may be nested.
class CaughtSignals {
 public:
  CaughtSignals() : CaughtSignals(false) {}
  /// Takes the one that stops the process as well.
  static CaughtSignals WithStop() { return CaughtSignals(true); }
  ~CaughtSignals();
  CaughtSignals(const CaughtSignals&) = delete;
  CaughtSignals& operator=(const CaughtSignals&) = delete;

  /// The one that came in; 0 for none.
  static int First();
  /// As First, which is 0 from then on.
  static int Take();

 private:
  explicit CaughtSignals(bool with_stop);

  bool with_stop_;
  struct sigaction earlier_[5]{};
};

/// Holds back what CaughtSignals may take, so that none comes in between a look at what was caught
/// and the wait for more.
class HeldSignals {
 public:
  HeldSignals();
  ~HeldSignals();
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  /// For ppoll: the only moment at which they come in.
  const sigset_t* WaitMask() const { return &wait_mask_; }

 private:
  sigset_t earlier_mask_{};
  sigset_t wait_mask_{};
};

}  // namespace corvessa::desk
