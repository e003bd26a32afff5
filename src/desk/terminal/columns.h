#pragma once

#include <clocale>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

/// Text measured in terminal columns. The caller has passed it through ForDisplay or
/// ForDisplayLines.
namespace corvessa::desk {

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

/// Makes the C library read and write UTF-8 in this thread, whatever the user's locale, while it
/// lives: the desk uses UTF-8 only.
class Utf8Locale {
 public:
  Utf8Locale();
  ~Utf8Locale();
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;

 private:
  locale_t earlier_;
};

}  // namespace corvessa::desk
