#include "desk/field_printing.h"

#include <algorithm>
#include <ostream>

#include "base/text.h"
#include "desk/terminal/columns.h"

namespace corvessa::desk {
namespace {

constexpr int kMostColumns = 200;

/// The blanks of Unicode, and the empty pattern of Braille, which looks like one.
constexpr std::string_view kBlanks[] = {"\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003",
                                        "\u2004", "\u2005", "\u2006", "\u2007", "\u2008", "\u2009",
                                        "\u200A", "\u202F", "\u205F", "\u3000", "\u2800"};

bool AreBlanks(char one, char other) {
  return one == ' ' && other == ' ';
}

}  // namespace

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

}  // namespace corvessa::desk
