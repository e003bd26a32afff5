#include "desk/terminal/columns.h"

#include <algorithm>
#include <cwchar>

#include "base/text.h"

namespace corvessa::desk {
namespace {

locale_t Utf8() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

/// Call it inside a Utf8Locale.
int ColumnsOfCharacter(std::string_view character) {
  if (character.size() == 1) return 1;
  wchar_t wide = 0;
  std::mbstate_t state{};
  if (std::mbrtowc(&wide, character.data(), character.size(), &state) > character.size()) return 1;
  return std::max(0, wcwidth(wide));
}

/// The number of bytes that fit, in whole characters.
std::size_t FittingBytes(std::string_view text, int columns) {
  const Utf8Locale utf8;
  std::size_t bytes = 0;
  while (bytes < text.size()) {
    const std::string_view character = Left(text.substr(bytes), 1);
    columns -= ColumnsOfCharacter(character);
    if (columns < 0) break;
    bytes += character.size();
  }
  return bytes;
}

void WrapLine(std::string_view line, int columns, std::vector<std::string>& lines) {
  for (;;) {
    std::size_t bytes = FittingBytes(line, columns);
    if (bytes == line.size()) break;
    // A character wider than the line gets a line of its own.
    if (bytes == 0) bytes = Left(line, 1).size();
    const std::size_t blank = line.rfind(' ', bytes);
    const bool at_blank = blank != std::string_view::npos && blank > 0;
    lines.emplace_back(line.substr(0, at_blank ? blank : bytes));
    line.remove_prefix(at_blank ? blank + 1 : bytes);
  }
  lines.emplace_back(line);
}

}  // namespace

// A null locale, on a system without C.UTF-8, changes nothing.
Utf8Locale::Utf8Locale() : earlier_(uselocale(Utf8())) {}

Utf8Locale::~Utf8Locale() {
  uselocale(earlier_);
}

int ColumnsOf(std::string_view text) {
  const Utf8Locale utf8;
  int columns = 0;
  while (!text.empty()) {
    const std::string_view character = Left(text, 1);
    columns += ColumnsOfCharacter(character);
    text.remove_prefix(character.size());
  }
  return columns;
}

std::vector<std::string> WrapToColumns(std::string_view text, int columns) {
  std::vector<std::string> lines;
  for (;;) {
    const std::size_t end = text.find('\n');
    WrapLine(text.substr(0, end), columns, lines);
    if (end == std::string_view::npos) return lines;
    text.remove_prefix(end + 1);
  }
}

std::string PadToColumns(std::string text, int columns) {
  const int missing = columns - ColumnsOf(text);
  if (missing > 0) text.append(static_cast<std::size_t>(missing), ' ');
  return text;
}

std::string CutToColumns(std::string_view text, int columns) {
  if (FittingBytes(text, columns) == text.size()) return std::string(text);
  return std::string(text.substr(0, FittingBytes(text, columns - 1))) + "…";
}

}  // namespace corvessa::desk
