#include "engine/text_encoding.h"

#include <iconv.h>

#include "base/text.h"

namespace corvessa::engine {
namespace {

constexpr const char* kUtf8 = "UTF-8";
constexpr const char* kWindows = "CP1252";

/// Nothing when the bytes are not of that charset or cannot be said in the other.
std::optional<std::string> Convert(std::string_view bytes, const char* from, const char* to) {
  const iconv_t handle = iconv_open(to, from);
  if (handle == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  // Three bytes are the most that a character of either takes in the other.
  std::string converted(bytes.size() * 3, '\0');
  char* in = const_cast<char*>(bytes.data());  // which iconv does not change
  char* out = converted.data();
  std::size_t in_left = bytes.size();
  std::size_t out_left = converted.size();
  const std::size_t result = iconv(handle, &in, &in_left, &out, &out_left);
  iconv_close(handle);
  if (result == static_cast<std::size_t>(-1) || in_left > 0) return std::nullopt;
  converted.resize(converted.size() - out_left);
  return converted;
}

}  // namespace

std::string ToUtf8(std::string bytes) {
  if (IsAscii(bytes) || Convert(bytes, kUtf8, kUtf8)) return bytes;
  return Convert(bytes, kWindows, kUtf8).value_or(bytes);
}

std::optional<std::string> ToWindows1252(std::string_view text) {
  if (IsAscii(text)) return std::nullopt;
  auto bytes = Convert(text, kUtf8, kWindows);
  if (bytes && Convert(*bytes, kUtf8, kUtf8)) return std::nullopt;
  return bytes;
}

}  // namespace corvessa::engine
