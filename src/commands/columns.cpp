#include "commands/columns.h"

#include <algorithm>
#include <ostream>

#include "base/text.h"
#include "system/charsets.h"

namespace corvessa {
namespace {

constexpr int kMostColumns = 200;

/// Unicode blanks, and the empty Braille pattern, which looks like one.
constexpr std::string_view kBlanks[] = {"\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003",
                                        "\u2004", "\u2005", "\u2006", "\u2007", "\u2008", "\u2009",
                                        "\u200A", "\u202F", "\u205F", "\u3000", "\u2800"};

bool AreBlanks(char one, char other) {
  return one == ' ' && other == ' ';
}

/// The number of bytes that fit, in whole characters.
std::size_t FittingBytes(std::string_view text, int columns) {
  std::size_t bytes = 0;
  while (bytes < text.size()) {
    const std::string_view character = Left(text.substr(bytes), 1);
    columns -= system::ColumnsOfCharacter(character);
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

int ColumnsOf(std::string_view text) {
  int columns = 0;
  while (!text.empty()) {
    const std::string_view character = Left(text, 1);
    columns += system::ColumnsOfCharacter(character);
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

std::string FieldText(std::string_view text) {
  std::string line = Replace(ForDisplayLines(text), "\n", " ");
  for (const std::string_view blank : kBlanks) line = Replace(line, blank, " ");
  line.erase(std::unique(line.begin(), line.end(), AreBlanks), line.end());
  return CutToColumns(Trim(line), kMostColumns);
}

void PrintField(std::ostream& out, std::string_view label, std::string_view text, int columns,
                std::size_t indent) {
  std::string before(label);
  for (const std::string& line : WrapToColumns(text, columns - static_cast<int>(indent))) {
    out << before << line << "\n";
    before.assign(indent, ' ');
  }
}

}  // namespace corvessa
