#include <optional>

#include "base/text.h"

namespace corvessa {
namespace {

/// One line of the result: how much of the text it shows, how much it uses up, and whether its end
/// is a new one.
struct Line {
  std::size_t shown = 0;
  std::size_t used = 0;
  bool broken = false;
};

bool IsContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

/// Breaks before the byte at `end`, where a blank would open the next line: it goes.
Line BreakBefore(std::string_view text, std::size_t end) {
  const bool blank = end < text.size() && text[end] == ' ';
  return {end, blank ? end + 1 : end, true};
}

Line KeepLineEnd(std::string_view text, std::size_t end) {
  const std::size_t bytes = text.substr(end, 2) == kCrLf ? 2 : 1;
  return {end + bytes, end + bytes, false};
}

/// The first line of a text that is not empty. It uses up at least one byte.
Line NextLine(std::string_view text, std::size_t width) {
  std::size_t characters = 0;
  std::optional<std::size_t> break_at;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (IsContinuation(c)) continue;
    if (c == '\r' || c == '\n') return KeepLineEnd(text, i);
    if (characters == width) return BreakBefore(text, break_at.value_or(i));
    if (c == ' ') break_at = i;
    if (c == ',' || c == '-') break_at = i + 1;
    ++characters;
  }
  return {text.size(), text.size(), false};
}

}  // namespace

std::string WrapText(std::string_view text, std::size_t width) {
  if (width == 0) return std::string(text);
  std::string wrapped;
  wrapped.reserve(text.size() + text.size() / 16);
  while (!text.empty()) {
    const Line line = NextLine(text, width);
    wrapped.append(text.substr(0, line.shown));
    if (line.broken) wrapped.append(kCrLf);
    text.remove_prefix(line.used);
  }
  return wrapped;
}

}  // namespace corvessa
