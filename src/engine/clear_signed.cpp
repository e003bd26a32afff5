#include <optional>

#include "engine/armour.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

constexpr std::string_view kMessageMark = "-----BEGIN PGP SIGNED MESSAGE-----";
constexpr std::string_view kSignatureMark = "-----BEGIN PGP SIGNATURE-----";
constexpr std::string_view kEndMark = "-----END PGP SIGNATURE-----";

std::string_view WithoutTrailingBlanks(std::string_view line) {
  const auto last = line.find_last_not_of(" \t");
  return line.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

/// Walks over a text line by line, whatever its line endings.
class Lines {
 public:
  explicit Lines(std::string_view text) : text_(text) {}
  /// The next line without its ending and without the blanks before that; nothing at the end.
  std::optional<std::string_view> Next() {
    if (position_ >= text_.size()) return std::nullopt;
    const auto end = std::min(text_.find_first_of("\r\n", position_), text_.size());
    const auto line = text_.substr(position_, end - position_);
    position_ = end + (text_.substr(end, 2) == "\r\n" ? 2 : 1);
    return WithoutTrailingBlanks(line);
  }
  std::size_t Position() const { return std::min(position_, text_.size()); }

 private:
  std::string_view text_;
  std::size_t position_ = 0;
};

[[noreturn]] void FailStructure(const char* what) {
  Fail(kBadContent, std::string("The signed text is damaged: ") + what + ".");
}

bool HasMark(std::string_view text) {
  Lines lines(text);
  while (const auto line = lines.Next()) {
    if (*line == kMessageMark) return true;
  }
  return false;
}

void SkipToHeaders(Lines& lines) {
  for (auto line = lines.Next(); line != kMessageMark; line = lines.Next()) {
    if (!line->empty()) FailStructure("there is text before it that is not signed");
  }
}

void SkipHeaders(Lines& lines) {
  for (auto line = lines.Next(); line != ""; line = lines.Next()) {
    if (!line || !line->starts_with("Hash:")) {
      FailStructure("its header holds something else than a hash");
    }
  }
}

/// The signed lines; `signature_start` is where the signature's armour begins.
std::string ReadContent(Lines& lines, std::size_t& signature_start) {
  std::string content;
  for (bool first = true;; first = false) {
    signature_start = lines.Position();
    auto line = lines.Next();
    if (!line) FailStructure("its signature is missing");
    if (*line == kSignatureMark) return content;
    if (line->starts_with("- ")) {
      line->remove_prefix(2);
    } else if (*line == "-") {
      line = "";  // an escaped empty line whose blank was taken off on the way
    } else if (line->starts_with('-')) {
      FailStructure("a line starts with a dash that is not escaped");
    }
    if (!first) content += "\r\n";
    content += *line;
  }
}

void SkipSignature(Lines& lines) {
  for (auto line = lines.Next(); line != kEndMark; line = lines.Next()) {
    if (!line) FailStructure("its signature has no end");
  }
}

}  // namespace

ClearSigned ReadClearSigned(std::string_view text) {
  if (!HasMark(text)) Fail(kBadFormat, "This is no signed text.");
  Lines lines(text);
  SkipToHeaders(lines);
  SkipHeaders(lines);
  ClearSigned parts;
  std::size_t signature_start = 0;
  parts.content = ReadContent(lines, signature_start);
  SkipSignature(lines);
  parts.signature = text.substr(signature_start, lines.Position() - signature_start);
  return parts;
}

}  // namespace corvessa::engine
