#pragma once

#include <clocale>

namespace corvessa::desk {

/// Makes the C library read and write UTF-8 in this thread, whatever the user's locale is: the
/// desk speaks UTF-8 only. Puts the earlier locale back at its end.
class Utf8Locale {
 public:
  Utf8Locale();
  ~Utf8Locale();
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;

 private:
  locale_t earlier_;
};

}  // namespace corvessa::desk
