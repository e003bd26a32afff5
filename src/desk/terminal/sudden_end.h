#pragma once

#include <chrono>
#include <functional>

#include "posix/deadline.h"

namespace corvessa::desk {

/// While it lives, this is done before the process ends in the middle of its work, in another
/// thread than that work. One at a time.
class TidyFirst {
 public:
  explicit TidyFirst(std::function<void()> tidy);
  ~TidyFirst();
  TidyFirst(const TidyFirst&) = delete;
  TidyFirst& operator=(const TidyFirst&) = delete;
};

/// Does what TidyFirst holds, if anything.
void TidyUp();

/// Ends the process with a line and exit code 1 when it uses more processor time than that while
/// this lives.
class WorkLimit {
 public:
  explicit WorkLimit(std::chrono::nanoseconds processor_time);

 private:
  posix::Deadline deadline_;
};

}  // namespace corvessa::desk
