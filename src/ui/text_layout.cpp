#include "ui/text_layout.h"

#include <algorithm>

#include "platform/host.h"
#include "platform/ui.h"

namespace corvessa {
namespace {

int LineCountOfParagraph(std::string_view paragraph, int width) {
  platform::Ui& ui = platform::Host().ui;
  const int blank = ui.TextWidth(" ");
  int lines = 1;
  int used = 0;
  while (!paragraph.empty()) {
    const std::size_t end = std::min(paragraph.find(' '), paragraph.size());
    int word = ui.TextWidth(paragraph.substr(0, end));
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

}  // namespace corvessa
