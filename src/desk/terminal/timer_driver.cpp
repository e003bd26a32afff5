#include "desk/terminal/timer_driver.h"

#include <vector>

#include "ui/controls.h"
#include "ui/form.h"

namespace corvessa::desk {
namespace {

constexpr int kMostTicks = 100;

std::chrono::milliseconds Interval(const Timer& timer) {
  return std::chrono::milliseconds(timer.Interval());
}

}  // namespace

TimerDriver::Entry* TimerDriver::Find(Timer& timer) {
  const auto found = entries_.find(&timer);
  return found == entries_.end() ? nullptr : &found->second;
}

void TimerDriver::Start(Timer& timer, Time now) {
  entries_.insert_or_assign(&timer, Entry{now + Interval(timer)});
}

void TimerDriver::Stop(Timer& timer) {
  entries_.erase(&timer);
}

void TimerDriver::Run(Time now) {
  std::vector<std::pair<FormPtr, Timer*>> timers;
  for (const auto& [timer, entry] : entries_) {
    timers.emplace_back(timer->Parent().shared_from_this(), timer);
  }
  for (const auto& [form, timer] : timers) TickOverdue(*timer, now);
}

void TimerDriver::TickOverdue(Timer& timer, Time now) {
  for (int ticks = 0; ticks < kMostTicks; ++ticks) {
    Entry* entry = Find(timer);
    if (!entry || entry->ticks || entry->due > now) return;
    entry->due += Interval(timer);
    entry->ticks = true;
    timer.Tick();
    // The tick may have stopped the timer, or called Run, which changes the table.
    entry = Find(timer);
    if (entry) entry->ticks = false;
  }
}

std::optional<TimerDriver::Time> TimerDriver::NextDue() const {
  std::optional<Time> next;
  for (const auto& [timer, entry] : entries_) {
    if (!entry.ticks && (!next || entry.due < *next)) next = entry.due;
  }
  return next;
}

}  // namespace corvessa::desk
