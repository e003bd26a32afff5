#include <algorithm>

#include "base/text.h"
#include "engine/armour.h"
#include "system/charsets.h"

namespace corvessa::engine {
namespace {

using system::Charset;
using system::Convert;

/// By what begins a stretch of Japanese or ends one of Roman letters; no other text holds these.
bool LooksJapanese(std::string_view bytes) {
  return bytes.find("\x1B$") != std::string_view::npos ||
         bytes.find("\x1B(J") != std::string_view::npos;
}

}  // namespace

std::string DecodeText(std::string bytes) {
  if (LooksJapanese(bytes)) {
    if (auto text = Convert(bytes, Charset::kIso2022Jp, Charset::kUtf8)) return *text;
  }
  if (IsAscii(bytes) || Convert(bytes, Charset::kUtf8, Charset::kUtf8)) return bytes;
  return Convert(bytes, Charset::kWindows1252, Charset::kUtf8).value_or(bytes);
}

std::vector<std::string> EarlierEncodings(std::string_view text) {
  std::vector<std::string> encodings;
  if (IsAscii(text)) return encodings;
  for (const Charset charset : {Charset::kWindows1252, Charset::kLatin9, Charset::kIso2022Jp}) {
    auto bytes = Convert(text, Charset::kUtf8, charset);
    if (!bytes || std::ranges::count(encodings, *bytes)) continue;
    const bool is_unmistakable =
        LooksJapanese(*bytes) || !Convert(*bytes, Charset::kUtf8, Charset::kUtf8);
    if (is_unmistakable) encodings.push_back(*std::move(bytes));
  }
  return encodings;
}

}  // namespace corvessa::engine
