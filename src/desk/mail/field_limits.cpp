#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "desk/mail/header_fields.h"

namespace corvessa::desk::mail {
namespace {

/// Beyond these, GMime takes seconds to parse a field. Real mail stays far below.
constexpr int kMaximumColons = 2000;
constexpr int kMaximumEntriesWithoutAddress = 5000;
constexpr int kMaximumUnendedWords = 500;
constexpr int kMaximumFields = 20'000;
/// For all headers of a mail; a mail with ten thousand parts has half as much. GMime needs 16 times
/// as much memory, and nearly a kilobyte per field.
constexpr std::size_t kMaximumHeaderBytes = 8 * 1024 * 1024;
constexpr std::size_t kFieldOverhead = 64;
/// Applies to a field that declares a boundary and to the boundary's line.
constexpr std::size_t kLongestDeclaration = 8 * 1024;

/// Finds the headers in the bytes of a mail and counts what each field holds.
class FieldScanner {
 public:
  /// False as soon as a limit is exceeded.
  bool Take(std::string_view bytes) {
    while (!bytes.empty()) {
      if (in_header_) {
        if (!TakeHeaderByte(bytes.front())) return false;
        bytes.remove_prefix(1);
      } else {
        bytes.remove_prefix(TakeBody(bytes));
      }
    }
    return true;
  }

  bool HoldsNul() const { return holds_nul_; }

 private:
  bool TakeHeaderByte(char c) {
    holds_nul_ = holds_nul_ || (c == '\0' && in_first_header_);
    if (++header_bytes_ > kMaximumHeaderBytes) return false;
    if (c == '\r') return true;
    if (c == '\n') {
      EndHeaderLine();
      return true;
    }
    if (column_++ == 0) BeginHeaderLine(c);
    Count(c);
    before_last_ = last_;
    last_ = c;
    return colons_ <= kMaximumColons && words_ <= kMaximumUnendedWords &&
           fields_ <= kMaximumFields && separators_ - 2 * ats_ <= kMaximumEntriesWithoutAddress;
  }

  void BeginHeaderLine(char first) {
    if (first == ' ' || first == '\t') return;
    EndField();
    colons_ = separators_ = ats_ = words_ = 0;
    if (in_first_header_) ++fields_;
    header_bytes_ += kFieldOverhead;
  }

  void EndHeaderLine() {
    if (column_ == 0) EndHeader();
    column_ = 0;
    last_ = '\n';
  }

  /// The header of an embedded mail is followed by the mail's own.
  void EndHeader() {
    EndField();
    in_first_header_ = false;
    in_header_ = embeds_mail_;
    embeds_mail_ = false;
    body_line_.clear();
    is_skipping_ = false;
  }

  void Count(char c) {
    if (field_.size() < kLongestDeclaration) field_ += c;
    if (c == ':') ++colons_;
    if (c == ',' || c == ';') ++separators_;
    if (c == '@') ++ats_;
    if (c == '?' && last_ == '=') ++words_;
    // In "=?=" at the end of a base64 word the first two characters were counted as a beginning.
    if (c == '=' && last_ == '?') words_ -= before_last_ == '=' ? 2 : 1;
    words_ = std::max(words_, 0);
  }

  void EndField() {
    const std::string field = std::exchange(field_, {});
    const std::string lower = LCase(field);
    if (!lower.starts_with("content-type")) return;
    const bool is_cut = field.size() == kLongestDeclaration;
    if (is_cut || lower.find("message/") != std::string::npos) embeds_mail_ = true;
    if (is_cut) any_line_divides_ = true;
    constexpr std::string_view kBoundary = "boundary";
    for (auto at = lower.find(kBoundary); at != std::string::npos; at = lower.find(kBoundary, at)) {
      at += kBoundary.size();
      AddBoundary(std::string_view(field).substr(at));
    }
  }

  /// `declaration` is what follows the parameter's name. In any unusual form of it every line that
  /// can be a boundary counts as one.
  void AddBoundary(std::string_view declaration) {
    declaration = Trim(declaration, kBlanks);
    const bool is_usual = declaration.starts_with('=') &&
                          declaration.find_first_of("\\(?*%") == std::string_view::npos;
    if (!is_usual) {
      any_line_divides_ = true;
      return;
    }
    declaration = Trim(declaration.substr(1), kBlanks);
    const bool is_quoted = declaration.starts_with('"');
    if (is_quoted) declaration.remove_prefix(1);
    const auto value = declaration.substr(0, declaration.find_first_of(is_quoted ? "\"" : "; \t"));
    boundaries_.emplace(Trim(value, kBlanks));
  }

  /// Takes some bytes of a body; looks only at the start of each line, because bodies are large.
  std::size_t TakeBody(std::string_view bytes) {
    if (is_skipping_) {
      const auto end = bytes.find('\n');
      if (end == std::string_view::npos) return bytes.size();
      is_skipping_ = false;
      return end + 1;
    }
    const char c = bytes.front();
    if (c == '\n') {
      if (IsBoundary()) BeginPart();
      body_line_.clear();
    } else if (body_line_.size() == kLongestDeclaration || (body_line_.size() < 2 && c != '-')) {
      is_skipping_ = true;
      if (any_line_divides_ && body_line_.size() > 2) BeginPart();
      body_line_.clear();
    } else {
      body_line_ += c;
    }
    return 1;
  }

  bool IsBoundary() const {
    if (body_line_.size() < 3) return false;
    return any_line_divides_ ||
           boundaries_.contains(std::string(Trim(std::string_view(body_line_).substr(2), kBlanks)));
  }

  void BeginPart() {
    in_header_ = true;
    column_ = 0;
  }

  static constexpr std::string_view kBlanks = " \t\r";

  bool in_first_header_ = true;
  bool holds_nul_ = false;
  bool in_header_ = true;
  bool embeds_mail_ = false;
  std::size_t header_bytes_ = 0;
  std::size_t column_ = 0;
  char last_ = '\n';
  char before_last_ = '\n';
  int fields_ = 0;
  int colons_ = 0;
  int separators_ = 0;
  int ats_ = 0;
  int words_ = 0;
  std::string field_;

  std::set<std::string, std::less<>> boundaries_;
  bool any_line_divides_ = false;
  /// The start of a line of a body, as long as the line can be a boundary.
  std::string body_line_;
  bool is_skipping_ = false;
};

}  // namespace

FieldFault FindFieldFault(GMimeStream* stream) {
  FieldScanner scanner;
  std::array<char, 65536> buffer{};
  g_mime_stream_reset(stream);
  bool is_sane = true;
  ssize_t bytes = 0;
  while (is_sane && (bytes = g_mime_stream_read(stream, buffer.data(), buffer.size())) > 0) {
    is_sane = scanner.Take({buffer.data(), static_cast<std::size_t>(bytes)});
  }
  g_mime_stream_reset(stream);
  if (!is_sane) return FieldFault::kRunaway;
  return scanner.HoldsNul() ? FieldFault::kNul : FieldFault::kNone;
}

}  // namespace corvessa::desk::mail
