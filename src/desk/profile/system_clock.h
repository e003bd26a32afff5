#pragma once

#include <ctime>
#include <random>
#include <string>

#include "platform/clock.h"

namespace corvessa::desk {

/// A time in the user's time zone and in the date and time form of the user's locale.
std::string DateTimeText(std::time_t time);

/// The machine's clock, in the user's time zone and in the date and time form of the user's locale.
class SystemClock final : public platform::Clock {
 public:
  std::string DateTimeText() override;
  void Randomize() override;
  double Random() override;

 private:
  std::mt19937_64 generator_;
};

}  // namespace corvessa::desk
