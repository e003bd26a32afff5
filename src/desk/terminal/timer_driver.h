#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>

#include "ui/form.h"

namespace corvessa {
class Timer;
}

namespace corvessa::desk {

/// Ticks the timers of the loaded forms, once for every interval since it first saw them. Intervals
/// missed during a long call are made up, at most a hundred a run: the seconds after which a
/// passphrase is forgotten must not fall behind.
class TimerDriver {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// May be called inside a tick, which then skips the ticking timer.
  void Run(Time now);
  /// Nothing if no timer is running.
  std::optional<Time> NextDue() const;

 private:
  struct Entry {
    std::weak_ptr<Form> form;
    Time due;
    bool ticks = false;
  };
  void TickOverdue(Timer& timer, Time now);
  Entry* Find(const Timer& timer);

  std::map<const Timer*, Entry> entries_;
};

}  // namespace corvessa::desk
