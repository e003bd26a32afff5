#pragma once

#include <cstddef>
#include <iosfwd>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

/// Text measured in terminal columns. The caller has passed it through ForDisplay or
/// ForDisplayLines.
namespace corvessa {

/// The width without a window.
inline constexpr int kUnlimitedColumns = std::numeric_limits<int>::max();

/// One for most characters, two for wide East Asian ones, none for combining marks.
int ColumnsOf(std::string_view text);

/// At least one line, each of at most `columns`. Breaks at LF and, in longer lines, at blanks; a
/// word longer than a line is broken anywhere. Keeps blanks where it does not break.
std::vector<std::string> WrapToColumns(std::string_view text, int columns);

/// Appends blanks up to the width.
std::string PadToColumns(std::string text, int columns);

/// Shortens a text that does not fit, with "…" at its end.
std::string CutToColumns(std::string_view text, int columns);

/// The text as one line: runs of blanks of any kind become one blank, and an overlong text is cut.
std::string FieldText(std::string_view text);

/// Prints a label and its text. A text longer than a line is continued in lines indented by
/// `indent`, which is at least the label's length.
void PrintField(std::ostream& out, std::string_view label, std::string_view text, int columns,
                std::size_t indent);

}  // namespace corvessa
