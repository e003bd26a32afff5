#include "ui/text_layout.h"

#include <algorithm>

#include "base/text.h"
#include "platform/host.h"
#include "platform/ui.h"

namespace corvessa {
namespace {

int TextWidth(std::string_view text) {
  return platform::Host().ui.TextWidth(text);
}

int LineCountOfParagraph(std::string_view paragraph, int width) {
  const int blank = TextWidth(" ");
  int lines = 1;
  int used = 0;
  while (!paragraph.empty()) {
    const std::size_t end = std::min(paragraph.find(' '), paragraph.size());
    int word = TextWidth(paragraph.substr(0, end));
    if (used > 0 && used + word > width) {
      ++lines;
      used = 0;
    }
    for (; word > width; word -= width) ++lines;
    used += word + blank;
    paragraph.remove_prefix(std::min(end + 1, paragraph.size()));
  }
  return lines;
}

}  // namespace

int WrappedLineCount(std::string_view text, int width) {
  int lines = 0;
  for (;;) {
    const std::size_t end = text.find('\n');
    std::string_view paragraph = text.substr(0, end);
    if (paragraph.ends_with('\r')) paragraph.remove_suffix(1);
    lines += LineCountOfParagraph(paragraph, std::max(width, 1));
    if (end == std::string_view::npos) return lines;
    text.remove_prefix(end + 1);
  }
}

std::string FittedText(std::string_view text, int width) {
  constexpr std::string_view kEllipsis = "...";
  if (TextWidth(text) <= width) return std::string(text);
  const auto shortened = [&](std::size_t characters) {
    return std::string(Left(text, characters)).append(kEllipsis);
  };
  // By halves, because a subject may have millions of characters: the first `fits` characters fit,
  // the first `cut` do not, and those that are left are fewer than what "..." takes away.
  const std::size_t length = Length(text);
  std::size_t fits = 0;
  std::size_t cut = length > kEllipsis.size() ? length - kEllipsis.size() : 1;
  while (cut - fits > 1) {
    const std::size_t middle = fits + (cut - fits) / 2;
    (TextWidth(shortened(middle)) <= width ? fits : cut) = middle;
  }
  return shortened(fits);
}

}  // namespace corvessa
