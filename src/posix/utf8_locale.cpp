#include "posix/utf8_locale.h"

namespace corvessa::posix {
namespace {

locale_t Utf8() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

}  // namespace

// A null locale, on a system without C.UTF-8, changes nothing.
Utf8Locale::Utf8Locale() : earlier_(uselocale(Utf8())) {}

Utf8Locale::~Utf8Locale() {
  uselocale(earlier_);
}

}  // namespace corvessa::posix
