#pragma once

#include <locale.h>

namespace corvessa::posix {

/// Makes the C library read and write UTF-8 in this thread, whatever the user's locale, while it
/// lives: these programs use UTF-8 only.
class Utf8Locale {
 public:
  Utf8Locale();
  ~Utf8Locale();
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;

 private:
  locale_t earlier_;
};

}  // namespace corvessa::posix
