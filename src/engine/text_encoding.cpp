#include "engine/text_encoding.h"

#include <algorithm>
#include <iconv.h>
#include <optional>

#include "base/text.h"

namespace corvessa::engine {
namespace {

constexpr const char* kUtf8 = "UTF-8";
constexpr const char* kWindows = "CP1252";
constexpr const char* kLatin9 = "ISO-8859-15";
constexpr const char* kJapanese = "ISO-2022-JP";

/// Nothing when the bytes are not of that charset or cannot be said in the other.
std::optional<std::string> Convert(std::string_view bytes, const char* from, const char* to) {
  const iconv_t handle = iconv_open(to, from);
  if (handle == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  // Three bytes are the most that one becomes, and then a shift back at the end.
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

/// By what begins a stretch of Japanese or ends one of Roman letters; no other text holds these.
bool LooksJapanese(std::string_view bytes) {
  return bytes.find("\x1B$") != std::string_view::npos ||
         bytes.find("\x1B(J") != std::string_view::npos;
}

}  // namespace

std::string ToUtf8(std::string bytes) {
  if (LooksJapanese(bytes)) {
    if (auto text = Convert(bytes, kJapanese, kUtf8)) return *text;
  }
  if (IsAscii(bytes) || Convert(bytes, kUtf8, kUtf8)) return bytes;
  return Convert(bytes, kWindows, kUtf8).value_or(bytes);
}

std::vector<std::string> EarlierEncodings(std::string_view text) {
  std::vector<std::string> encodings;
  if (IsAscii(text)) return encodings;
  for (const char* charset : {kWindows, kLatin9, kJapanese}) {
    auto bytes = Convert(text, kUtf8, charset);
    if (!bytes || std::ranges::count(encodings, *bytes)) continue;
    const bool is_unmistakable = LooksJapanese(*bytes) || !Convert(*bytes, kUtf8, kUtf8);
    if (is_unmistakable) encodings.push_back(*std::move(bytes));
  }
  return encodings;
}

}  // namespace corvessa::engine
