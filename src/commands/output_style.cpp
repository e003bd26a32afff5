#include "commands/output_style.h"

#include <chrono>
#include <cstdio>
#include <ostream>
#include <sstream>

#include "commands/columns.h"

namespace corvessa {
namespace {

/// Each sign takes one column.
std::string_view SignOf(Mark mark) {
  switch (mark) {
    case Mark::kGood:
      return "✓";
    case Mark::kWarning:
      return "!";
    case Mark::kBad:
      return "✗";
    default:
      return "–";
  }
}

/// The terminal's own colours, which its user has chosen to be readable.
std::string_view ColourOf(Mark mark) {
  switch (mark) {
    case Mark::kGood:
      return "\x1B[32m";
    case Mark::kWarning:
      return "\x1B[33m";
    case Mark::kBad:
      return "\x1B[31m";
    default:
      return "";
  }
}

}  // namespace

std::string OutputStyle::Begin(Mark mark) const {
  if (!has_signs || mark == Mark::kNone) return {};
  const std::string colour(has_colours ? ColourOf(mark) : "");
  return colour + std::string(SignOf(mark)) + " ";
}

std::string_view OutputStyle::End(Mark mark) const {
  return has_signs && has_colours && !ColourOf(mark).empty() ? "\x1B[0m" : "";
}

std::string OutputStyle::Marked(Mark mark, std::string_view text) const {
  return Begin(mark).append(text).append(End(mark));
}

void OutputStyle::PrintField(std::ostream& out, std::string_view label, Mark mark,
                             std::string_view text, int columns) const {
  const std::string begin = Begin(mark);
  const std::size_t indent = label.size() + (begin.empty() ? 0 : std::size_t{kSignColumns});
  std::ostringstream field;
  corvessa::PrintField(field, std::string(label) + begin, text, columns, indent);
  std::string lines = std::move(field).str();
  lines.insert(lines.size() - 1, End(mark));
  out << lines;
}

std::string OutputStyle::DateText(std::int64_t seconds) const {
  return local_date ? local_date(seconds) : FormatDate(seconds);
}

std::string FormatDate(std::int64_t seconds) {
  using namespace std::chrono;
  const year_month_day date(floor<days>(sys_seconds(std::chrono::seconds(seconds))));
  char text[32];
  const int size = std::snprintf(text, sizeof text, "%04d-%02u-%02u", int{date.year()},
                                 unsigned{date.month()}, unsigned{date.day()});
  return {text, static_cast<std::size_t>(size)};
}

}  // namespace corvessa
