#include "base/text.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "base/lower_case_table.h"

namespace corvessa {
namespace {

/// Bytes of the character that begins the text, which is not empty; 1 for what is no UTF-8.
std::size_t CharacterBytes(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t bytes = lead < 0xC2   ? 1
                            : lead < 0xE0 ? 2
                            : lead < 0xF0 ? 3
                            : lead < 0xF5 ? 4
                                          : 1;
  if (bytes > text.size()) return 1;
  for (std::size_t i = 1; i < bytes; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 1;
  }
  return bytes;
}

/// The code point of one whole UTF-8 character.
char32_t Decode(std::string_view character) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(character[i]); };
  if (character.size() == 1) return byte(0);
  char32_t code = byte(0) & (0x7FU >> character.size());
  for (std::size_t i = 1; i < character.size(); ++i) code = code << 6 | (byte(i) & 0x3FU);
  return code;
}

char32_t SimpleLowerCase(char32_t code) {
  const auto* run = std::lower_bound(
      std::begin(kLowerCaseRuns), std::end(kLowerCaseRuns), code,
      [](const LowerCaseRun& candidate, char32_t value) { return candidate.last < value; });
  if (run == std::end(kLowerCaseRuns) || code < run->first) return code;
  if ((code - run->first) % run->stride != 0) return code;
  return static_cast<char32_t>(static_cast<std::int32_t>(code) + run->distance);
}

bool IsAsciiUpper(char c) {
  return c >= 'A' && c <= 'Z';
}
bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

struct CodeRange {
  char32_t first;
  char32_t last;
};

// Generated from the Unicode 14 database with Python's unicodedata: all characters of the general
// categories Cc, Cf, Zl and Zp except the prepended concatenation marks, which are visible
// (0600-0605, 06DD, 070F, 0890, 0891, 08E2, 110BD, 110CD), and the Default_Ignorable_Code_Point
// characters of other categories, which unicodedata does not list: 034F, 115F, 1160, 17B4, 17B5,
// 180B-180F, 2065, 3164, FE00-FE0F, FFA0, FFF0-FFF8, E0000-E0FFF.
constexpr CodeRange kHiddenCharacters[] = {
    {0x0000, 0x001F},   {0x007F, 0x009F},   {0x00AD, 0x00AD},   {0x034F, 0x034F},
    {0x061C, 0x061C},   {0x115F, 0x1160},   {0x17B4, 0x17B5},   {0x180B, 0x180F},
    {0x200B, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x206F},   {0x3164, 0x3164},
    {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFB},
    {0x13430, 0x13438}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF}};

bool IsHiddenCharacter(char32_t code) {
  const auto* range = std::ranges::lower_bound(kHiddenCharacters, code, {}, &CodeRange::last);
  return range != std::end(kHiddenCharacters) && code >= range->first;
}

}  // namespace

std::string Str(std::int64_t number) {
  return number < 0 ? std::to_string(number) : " " + std::to_string(number);
}

std::string Decimal(std::int64_t number) {
  return std::to_string(number);
}

std::string_view Trim(std::string_view text, std::string_view blanks) {
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string LCase(std::string_view text) {
  std::string lower;
  lower.reserve(text.size());
  while (!text.empty()) {
    const std::size_t bytes = CharacterBytes(text);
    if (bytes == 1) {
      lower +=
          IsAsciiUpper(text.front()) ? static_cast<char>(text.front() + ('a' - 'A')) : text.front();
    } else {
      lower += Utf8(SimpleLowerCase(Decode(text.substr(0, bytes))));
    }
    text.remove_prefix(bytes);
  }
  return lower;
}

std::size_t Length(std::string_view text) {
  std::size_t characters = 0;
  for (; !text.empty(); ++characters) text.remove_prefix(CharacterBytes(text));
  return characters;
}

std::string_view Left(std::string_view text, std::size_t characters) {
  std::size_t bytes = 0;
  for (; characters > 0 && bytes < text.size(); --characters) {
    bytes += CharacterBytes(text.substr(bytes));
  }
  return text.substr(0, bytes);
}

std::string Replace(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  if (from.empty()) return std::string(text);
  for (;;) {
    const auto found = text.find(from);
    result += text.substr(0, found);
    if (found == std::string_view::npos) return result;
    result += to;
    text.remove_prefix(found + from.size());
  }
}

std::string WithCrLf(std::string_view text) {
  std::string normal;
  normal.reserve(text.size() + text.size() / 32);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r' && text[i] != '\n') {
      normal += text[i];
      continue;
    }
    normal += kCrLf;
    if (text[i] == '\r' && text.substr(i + 1, 1) == "\n") ++i;
  }
  return normal;
}

std::vector<std::string> Split(std::string_view text, std::string_view separator) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(separator), text.size());
    parts.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + separator.size(), text.size()));
  }
  return parts;
}

std::string Join(const std::vector<std::string>& texts, std::string_view separator) {
  std::string joined;
  for (const std::string& text : texts) {
    if (&text != &texts.front()) joined.append(separator);
    joined.append(text);
  }
  return joined;
}

double LeadingNumber(std::string_view text) {
  double value = 0;
  double scale = 1;
  bool negative = false;
  bool started = false;
  bool after_point = false;
  for (const char c : text) {
    if (c == ' ' || c == '\t' || c == '\n') continue;
    if (!started && (c == '-' || c == '+')) {
      negative = c == '-';
    } else if (c == '.' && !after_point) {
      after_point = true;
    } else if (IsDigit(c)) {
      value = value * 10 + (c - '0');
      if (after_point) scale *= 10;
    } else {
      break;
    }
    started = true;
  }
  if (value == 0) return 0;
  const double number = std::isinf(scale) ? 0 : value / scale;
  return negative ? -number : number;
}

double RoundHalfEven(double number) {
  const double below = std::floor(number);
  const double rest = number - below;
  if (rest < 0.5) return below;
  if (rest > 0.5) return below + 1;
  return std::fmod(below, 2) == 0 ? below : below + 1;
}

std::int32_t ClampToInt32(double number) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (number >= Limits::max()) return Limits::max();
  if (number <= Limits::min()) return Limits::min();
  return std::isnan(number) ? 0 : static_cast<std::int32_t>(number);
}

std::string ForDisplay(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const std::string_view character = text.substr(0, CharacterBytes(text));
    const bool is_stray_byte =
        character.size() == 1 && static_cast<unsigned char>(character[0]) > 0x7F;
    if (!is_stray_byte && !IsHiddenCharacter(Decode(character))) shown += character;
    text.remove_prefix(character.size());
  }
  return shown;
}

std::string ForDisplayLines(std::string_view raw) {
  constexpr std::size_t kTabWidth = 8;
  // Unicode line separators must not vanish: they separate the words around them.
  std::string lines(raw);
  for (const char* end : {"\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"}) {
    lines = Replace(lines, end, "\n");
  }
  std::string_view text = lines;
  std::string shown;
  while (!text.empty()) {
    // It begins a line or follows a tab, so its own length says how wide the next tab is.
    const std::size_t end = std::min(text.find_first_of("\t\r\n"), text.size());
    const std::string piece = ForDisplay(text.substr(0, end));
    shown += piece;
    text.remove_prefix(end);
    if (text.starts_with('\t')) {
      shown.append(kTabWidth - Length(piece) % kTabWidth, ' ');
    } else if (!text.empty()) {
      shown += '\n';
    }
    if (!text.empty()) text.remove_prefix(text.starts_with(kCrLf) ? kCrLf.size() : 1);
  }
  return shown;
}

std::string Utf8(char32_t code) {
  std::string text;
  const auto add = [&](char32_t byte) { text += static_cast<char>(byte); };
  if (code < 0x80) {
    add(code);
  } else if (code < 0x800) {
    add(0xC0 | code >> 6);
    add(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    add(0xE0 | code >> 12);
    add(0x80 | (code >> 6 & 0x3F));
    add(0x80 | (code & 0x3F));
  } else {
    add(0xF0 | code >> 18);
    add(0x80 | (code >> 12 & 0x3F));
    add(0x80 | (code >> 6 & 0x3F));
    add(0x80 | (code & 0x3F));
  }
  return text;
}

bool IsAscii(std::string_view text) {
  return std::ranges::none_of(text, [](char c) { return (c & 0x80) != 0; });
}

bool HoldsControlCharacter(std::string_view text) {
  return std::ranges::any_of(text, IsControlCharacter);
}

bool IsWebAddress(std::string_view url) {
  const std::string lower = LCase(url.substr(0, 8));
  return lower.starts_with("http://") || lower.starts_with("https://");
}

std::string ShortenedFileName(std::string_view name, std::size_t most) {
  constexpr std::size_t kMaximumExtension = 16;
  if (name.size() <= most) return std::string(name);
  const std::size_t dot = name.rfind('.');
  const bool has_extension =
      dot != std::string_view::npos && name.size() - dot <= kMaximumExtension;
  const std::string_view extension = has_extension ? name.substr(dot) : std::string_view();
  std::size_t end = 0;
  for (std::size_t next = 0; next <= most - extension.size();
       next += CharacterBytes(name.substr(next))) {
    end = next;
  }
  return std::string(name.substr(0, end)).append(extension);
}

}  // namespace corvessa
