#include "posix/deadline.h"

#include <csignal>

namespace corvessa::posix {
namespace {

bool Make(clockid_t clock, void (*over)(), timer_t& timer) {
  sigevent event{};
  event.sigev_notify = SIGEV_THREAD;
  event.sigev_value.sival_ptr = reinterpret_cast<void*>(over);
  event.sigev_notify_function = [](sigval value) {
    reinterpret_cast<void (*)()>(value.sival_ptr)();
  };
  return timer_create(clock, &event, &timer) == 0;
}

}  // namespace

Deadline::Deadline(clockid_t clock, void (*over)()) : is_made_(Make(clock, over, timer_)) {}

Deadline::~Deadline() {
  if (is_made_) timer_delete(timer_);
}

void Deadline::Start(std::chrono::nanoseconds time) const {
  if (!is_made_) return;
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  const itimerspec once{{}, {seconds.count(), (time - seconds).count()}};
  timer_settime(timer_, 0, &once, nullptr);
}

}  // namespace corvessa::posix
