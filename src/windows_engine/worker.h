#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace corvessa::windows {

/// A thread for work that a hostile message can prolong without end. One thread at a time makes the
/// calls; while it waits, its windows are painted and its timers tick. What they bring in may call
/// again: that call waits its turn.
class Worker {
 public:
  using Work = std::function<void()>;

  Worker();
  /// Waits for the end of the thread, unless it was given up.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// Runs the work and rethrows what it throws. False when it was not done: it has used more
  /// processor time than `limit`, or the work that it waits for has. This worker is given up then:
  /// its thread goes on with that work, whose objects must be its own, and does no other.
  bool Run(Work work, std::chrono::nanoseconds limit);
  bool IsGivenUp() const;

  /// For the work: has the thread that waits for it make a call, and rethrows what that throws.
  /// Throws Error when nobody waits any more.
  static void OnCaller(Work call);

  /// For the work: whether what it has prepared may take effect. If so, its end is waited for, so
  /// that nothing changes after the caller was told of a failure. Always, on any other thread.
  static bool MayCommit();

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace corvessa::windows
