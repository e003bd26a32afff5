#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

namespace corvessa {

/// What a text says of protection or of a key, at a glance.
enum class Mark { kNone, kGood, kNeutral, kWarning, kBad };

inline constexpr int kSignColumns = 2;

/// How results look to a person at a terminal. As default-constructed, they are the plain text that
/// scripts read from a pipe.
struct OutputStyle {
  /// A sign before a marked text, because not everybody sees colours.
  bool has_signs = false;
  bool has_colours = false;
  /// The date of a time in seconds since 1970 as the user writes it; null for "2026-11-22".
  std::function<std::string(std::int64_t)> local_date;

  /// The text with its sign, which takes kSignColumns, and its colour.
  std::string Marked(Mark mark, std::string_view text) const;
  /// As corvessa::PrintField, indented by the label; `columns` is the width of the window.
  void PrintField(std::ostream& out, std::string_view label, Mark mark, std::string_view text,
                  int columns) const;
  std::string DateText(std::int64_t seconds) const;

 private:
  std::string Begin(Mark mark) const;
  std::string_view End(Mark mark) const;
};

/// As "2026-11-22", in UTC.
std::string FormatDate(std::int64_t seconds);

}  // namespace corvessa
