#pragma once

#include <string>

namespace corvessa::platform {

/// Time and chance.
class Clock {
 public:
  virtual ~Clock() = default;
  /// The current local date and time as the system's default text: short date, blank, long time.
  virtual std::string DateTimeText() = 0;
  /// Seeds Random from the clock.
  virtual void Randomize() = 0;
  /// At least 0, less than 1. For names of folders and the like, never for a secret.
  virtual double Random() = 0;
};

}  // namespace corvessa::platform
