#pragma once

#include <chrono>
#include <ctime>

namespace corvessa::posix {

/// Calls a function when its time is over, in a thread of its own: whatever the others hang in.
class Deadline {
 public:
  /// The time is that of the clock, CLOCK_MONOTONIC or CLOCK_PROCESS_CPUTIME_ID. Where the system
  /// has no timer left, it is never over.
  Deadline(clockid_t clock, void (*over)());
  ~Deadline();
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;

  /// From now on; a signal handler may do it.
  void Start(std::chrono::nanoseconds time) const;
  void Stop() const { Start({}); }

 private:
  timer_t timer_{};
  bool is_made_;
};

}  // namespace corvessa::posix
