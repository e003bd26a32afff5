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

/// Ticks the timers of the loaded forms, once for every interval that has passed since it first
/// saw them. Intervals missed in a long call are made up for, a hundred a run at most, because
/// counts of seconds that protect a passphrase must not fall behind.
class TimerDriver {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// May run inside a tick: the timer that ticks is left alone then.
  void Run(Time now);
  /// Nothing when no timer is at work.
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
