#pragma once

#include <limits>
#include <string>
#include <string_view>
#include <vector>

/// Texts measured in terminal columns. The texts have been through ForDisplay or ForDisplayLines.
namespace corvessa::desk {

/// The width where no window breaks lines.
inline constexpr int kUnlimitedColumns = std::numeric_limits<int>::max();

/// One for most characters, two for wide East Asian ones, none for combining marks.
int ColumnsOf(std::string_view text);

/// Lines of at most `columns`, broken at LF and, where they are longer, at blanks; a word longer
/// than a line is broken anywhere. Blanks that no break stands at are kept. At least one line.
std::vector<std::string> WrapToColumns(std::string_view text, int columns);

/// With blanks behind it up to that width.
std::string PadToColumns(std::string text, int columns);

/// Shortened to fit, ending in "…"; a text that fits stays as it is.
std::string CutToColumns(std::string_view text, int columns);

}  // namespace corvessa::desk
