#pragma once

#include <chrono>
#include <map>
#include <optional>

namespace corvessa {
class Timer;
}

namespace corvessa::desk {

/// Ticks the running timers, once for every interval since they were started. Intervals missed
/// during a long call are made up, at most a hundred a run: the seconds after which a passphrase is
/// forgotten must not fall behind.
class TimerDriver {
 public:
  using Time = std::chrono::steady_clock::time_point;

  void Start(Timer& timer, Time now);
  void Stop(Timer& timer);
  /// May be called inside a tick, which then skips the ticking timer.
  void Run(Time now);
  /// Nothing if no timer is running.
  std::optional<Time> NextDue() const;

 private:
  struct Entry {
    Time due;
    bool ticks = false;
  };
  void TickOverdue(Timer& timer, Time now);
  Entry* Find(Timer& timer);

  std::map<Timer*, Entry> entries_;
};

}  // namespace corvessa::desk
