#pragma once

#include <csignal>
#include <initializer_list>

namespace corvessa::desk {

/// Takes signals in the process's place while it lives: the program may be halfway through a
/// message and has to tidy up first. The first one is noted; a second one to end the process ends
/// it at once, because somebody insists. What the process was started to ignore stays ignored.
/// They may be nested.
class CaughtSignals {
 public:
  /// At most kMostSignals.
  CaughtSignals(std::initializer_list<int> signals);
  ~CaughtSignals();
  CaughtSignals(const CaughtSignals&) = delete;
  CaughtSignals& operator=(const CaughtSignals&) = delete;

  /// The one that came in; 0 for none.
  static int First();
  /// As First, which is 0 from then on.
  static int Take();

 private:
  static constexpr int kMostSignals = 4;

  int signals_[kMostSignals]{};
  struct sigaction earlier_[kMostSignals] {};
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
