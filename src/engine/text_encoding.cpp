#include <algorithm>
#include <memory>
#include <uchardet/uchardet.h>

#include "base/text.h"
#include "engine/armour.h"
#include "system/charsets.h"

namespace corvessa::engine {
namespace {

using system::Charset;
using system::Convert;
using system::FindCharset;

constexpr std::string_view kReplacementNotice =
    "[This text is in an unknown charset. Characters that cannot be read are shown as "
    "\xEF\xBF\xBD.]\r\n\r\n";
// Trying every charset on a text of this size takes a second.
constexpr std::size_t kMaxTriedInAll = std::size_t{1} << 20;
constexpr std::size_t kTriedInLongTexts = 8;

/// By what begins a stretch of Japanese or ends one of Roman letters; no other text holds these.
bool LooksJapanese(std::string_view bytes) {
  return bytes.find("\x1B$") != std::string_view::npos ||
         bytes.find("\x1B(J") != std::string_view::npos;
}

bool IsUtf8(std::string_view bytes) {
  return Convert(bytes, Charset::kUtf8, Charset::kUtf8).has_value();
}

bool IsHigh(char byte) {
  return (byte & 0x80) != 0;
}

/// Short Chinese, which looks like nothing to those who count letters: pairs of high bytes only.
bool LooksChinese(std::string_view bytes) {
  constexpr auto kFirst = static_cast<unsigned char>(0xA1);
  std::size_t pairs = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (!IsHigh(bytes[i])) continue;
    if (i + 1 == bytes.size() || static_cast<unsigned char>(bytes[i]) < kFirst ||
        static_cast<unsigned char>(bytes[i + 1]) < kFirst) {
      return false;
    }
    ++pairs;
    ++i;
  }
  return pairs > 1;
}

std::optional<Charset> Detect(std::string_view bytes) {
  const std::unique_ptr<uchardet, decltype(&uchardet_delete)> detector(uchardet_new(),
                                                                       &uchardet_delete);
  if (uchardet_handle_data(detector.get(), bytes.data(), bytes.size()) != 0) return std::nullopt;
  uchardet_data_end(detector.get());
  const std::string_view name = uchardet_get_charset(detector.get());
  if (name.empty() && LooksChinese(bytes)) return Charset::kGb18030;
  // It knows no Ukrainian, whose letters KOI8-R has frames for.
  const auto charset = name == "KOI8-R" ? Charset::kKoi8U : FindCharset(name);
  // A few accents tell little; most such texts are western.
  constexpr std::ptrdiff_t kTelling = 8;
  const bool is_guess =
      charset && system::IsLatin(*charset) && std::ranges::count_if(bytes, IsHigh) < kTelling;
  return is_guess ? std::nullopt : charset;
}

/// What is valid UTF-8 by chance is so in pairs: in the charsets of two bytes a character.
bool IsSurelyUtf8(std::string_view bytes, const CharsetNames& names) {
  if (!IsUtf8(bytes)) return false;
  const auto declared = names.empty() ? std::nullopt : FindCharset(names.front());
  if (!declared || !system::HasPairs(*declared)) return true;
  return std::ranges::any_of(bytes,
                             [](char byte) { return static_cast<unsigned char>(byte) >= 0xE0; });
}

std::vector<Charset> Candidates(std::string_view bytes, const CharsetNames& names) {
  std::vector<Charset> candidates;
  for (const auto& name : names) {
    if (const auto charset = FindCharset(name)) candidates.push_back(*charset);
  }
  if (const auto detected = Detect(bytes)) candidates.push_back(*detected);
  candidates.push_back(Charset::kWindows1252);
  return candidates;
}

}  // namespace

std::string DecodeText(std::string bytes, const CharsetNames& names) {
  if (LooksJapanese(bytes)) {
    if (auto text = Convert(bytes, Charset::kIso2022Jp, Charset::kUtf8)) return *text;
  }
  if (IsAscii(bytes) || IsSurelyUtf8(bytes, names)) return bytes;
  const auto candidates = Candidates(bytes, names);
  for (const Charset charset : candidates) {
    if (auto text = Convert(bytes, charset, Charset::kUtf8)) return *text;
  }
  return kReplacementNotice.data() + system::ConvertReplacing(bytes, candidates.front());
}

std::vector<std::string> EarlierEncodings(std::string_view text, const CharsetNames& names) {
  std::vector<std::string> encodings;
  if (IsAscii(text)) return encodings;
  std::vector<Charset> charsets;
  for (const auto& name : names) {
    if (const auto charset = FindCharset(name)) charsets.push_back(*charset);
  }
  const auto& known = system::EarlierCharsets();
  charsets.insert(charsets.end(), known.begin(), known.end());
  if (text.size() > kMaxTriedInAll && charsets.size() > kTriedInLongTexts) {
    charsets.resize(kTriedInLongTexts);
  }
  for (const Charset charset : charsets) {
    auto bytes = Convert(text, Charset::kUtf8, charset);
    if (!bytes || std::ranges::count(encodings, *bytes)) continue;
    if (LooksJapanese(*bytes) || !IsUtf8(*bytes)) encodings.push_back(*std::move(bytes));
  }
  return encodings;
}

}  // namespace corvessa::engine
