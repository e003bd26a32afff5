#include "system/charsets.h"

#include <algorithm>
#include <cwchar>
#include <iconv.h>

#include "posix/utf8_locale.h"

namespace corvessa::system {
std::optional<std::string> Convert(std::string_view bytes, Charset from, Charset to) {
  const iconv_t handle = iconv_open(IconvName(to), IconvName(from));
  if (handle == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  // One byte becomes three at most, and a shift back follows at the end.
  std::string converted(bytes.size() * 3 + 8, '\0');
  char* in = const_cast<char*>(bytes.data());  // which iconv does not change
  char* out = converted.data();
  std::size_t in_left = bytes.size();
  std::size_t out_left = converted.size();
  constexpr auto kFailed = static_cast<std::size_t>(-1);
  const bool failed = iconv(handle, &in, &in_left, &out, &out_left) == kFailed ||
                      iconv(handle, nullptr, nullptr, &out, &out_left) == kFailed;
  iconv_close(handle);
  if (failed || in_left > 0) return std::nullopt;
  converted.resize(converted.size() - out_left);
  return converted;
}

int ColumnsOfCharacter(std::string_view character) {
  if (character.size() == 1) return 1;
  const posix::Utf8Locale utf8;
  wchar_t wide = 0;
  std::mbstate_t state{};
  if (std::mbrtowc(&wide, character.data(), character.size(), &state) > character.size()) return 1;
  return std::max(0, wcwidth(wide));
}

}  // namespace corvessa::system
