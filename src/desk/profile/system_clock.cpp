#include <array>
#include <chrono>
#include <locale.h>
#include <memory>
#include <time.h>
#include <type_traits>
#include <unistd.h>

#include "desk/profile/system_services.h"

namespace corvessa::desk {
namespace {

/// Only dates follow the user's locale: the logic relies on the classic one.
locale_t DateLocale() {
  static const std::unique_ptr<std::remove_pointer_t<locale_t>, void (*)(locale_t)> users(
      newlocale(LC_TIME_MASK | LC_CTYPE_MASK, "", nullptr), freelocale);
  static const std::unique_ptr<std::remove_pointer_t<locale_t>, void (*)(locale_t)> classic(
      newlocale(LC_ALL_MASK, "C", nullptr), freelocale);
  return users ? users.get() : classic.get();
}

std::string Format(std::time_t time, const char* format) {
  struct tm local {};
  localtime_r(&time, &local);
  std::array<char, 200> text;
  const std::size_t length = strftime_l(text.data(), text.size(), format, &local, DateLocale());
  return {text.data(), length};
}

}  // namespace

std::string DateTimeText(std::time_t time) {
  return Format(time, "%x %X");
}

std::string DateText(std::time_t time) {
  return Format(time, "%x");
}

std::string ShortDateTimeText(std::time_t time) {
  return Format(time, "%x %R");
}

std::string SystemClock::DateTimeText() {
  return desk::DateTimeText(time(nullptr));
}

void SystemClock::Randomize() {
  const auto now = std::chrono::system_clock::now().time_since_epoch().count();
  std::seed_seq seed{static_cast<std::uint32_t>(now), static_cast<std::uint32_t>(now >> 32),
                     static_cast<std::uint32_t>(getpid())};
  generator_.seed(seed);
}

double SystemClock::Random() {
  // A double holds exactly 53 bits, so rounding never reaches 1.
  constexpr double kScale = 1.0 / 9007199254740992.0;
  return static_cast<double>(generator_() >> 11) * kScale;
}

}  // namespace corvessa::desk
