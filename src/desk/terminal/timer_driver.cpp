#include "desk/terminal/timer_driver.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "ui/controls.h"

namespace corvessa::desk {
namespace {

constexpr int kMostTicks = 100;

std::chrono::milliseconds Interval(const Timer& timer) {
  return std::chrono::milliseconds(timer.Interval);
}

bool IsRunning(const Timer& timer) {
  return timer.Parent().IsLoaded() && timer.Enabled && timer.Interval > 0;
}

std::vector<std::pair<FormPtr, Timer*>> RunningTimers() {
  std::vector<std::pair<FormPtr, Timer*>> timers;
  for (const FormPtr& form : LoadedForms()) {
    for (Control* control : form->Controls()) {
      auto* timer = dynamic_cast<Timer*>(control);
      if (timer && IsRunning(*timer)) timers.emplace_back(form, timer);
    }
  }
  return timers;
}

}  // namespace

TimerDriver::Entry* TimerDriver::Find(const Timer& timer) {
  const auto found = entries_.find(&timer);
  return found == entries_.end() ? nullptr : &found->second;
}

void TimerDriver::Run(Time now) {
  const auto timers = RunningTimers();
  std::erase_if(entries_, [&](const auto& entry) {
    return entry.second.form.expired() || std::ranges::none_of(timers, [&](const auto& timer) {
             return timer.second == entry.first;
           });
  });
  for (const auto& [form, timer] : timers) {
    entries_.try_emplace(timer, Entry{form, now + Interval(*timer)});
  }
  for (const auto& [form, timer] : timers) TickOverdue(*timer, now);
}

void TimerDriver::TickOverdue(Timer& timer, Time now) {
  for (int ticks = 0; ticks < kMostTicks && IsRunning(timer); ++ticks) {
    Entry* entry = Find(timer);
    if (!entry || entry->ticks || entry->due > now) return;
    entry->due += Interval(timer);
    entry->ticks = true;
    timer.Tick();
    // The tick may have called Run, which changes the table.
    entry = Find(timer);
    if (entry) entry->ticks = false;
  }
}

std::optional<TimerDriver::Time> TimerDriver::NextDue() const {
  std::optional<Time> next;
  for (const auto& [timer, entry] : entries_) {
    const bool is_waiting = !entry.form.expired() && IsRunning(*timer) && !entry.ticks;
    if (is_waiting && (!next || entry.due < *next)) next = entry.due;
  }
  return next;
}

}  // namespace corvessa::desk
