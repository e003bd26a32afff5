#include "desk/mail/field_limits.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace corvessa::desk::mail {
namespace {

/// Where GMime's parsing time turns from unnoticeable to seconds, with a wide margin to real mail.
constexpr int kMaximumColons = 2000;
constexpr int kMaximumEntriesWithoutAddress = 5000;
constexpr int kMaximumUnendedWords = 500;
/// Each costs GMime nearly a kilobyte of memory.
constexpr int kMaximumFields = 20'000;

/// Follows the bytes of a mail through its headers and counts what one field holds.
class FieldScanner {
 public:
  /// False as soon as a field has run away.
  bool Take(std::string_view bytes) {
    for (const char c : bytes) {
      if (!TakeByte(c)) return false;
    }
    return true;
  }

  bool HoldsNul() const { return holds_nul_; }

 private:
  bool TakeByte(char c) {
    holds_nul_ = holds_nul_ || (c == '\0' && in_first_header_);
    if (c == '\r') return true;
    if (c == '\n') {
      EndLine();
      return true;
    }
    if (column_++ == 0) BeginLine(c);
    if (in_header_) Count(c);
    is_boundary_ = is_boundary_ && (column_ > 2 || c == '-');
    before_last_ = last_;
    last_ = c;
    return colons_ <= kMaximumColons && words_ <= kMaximumUnendedWords &&
           fields_ <= kMaximumFields && separators_ - 2 * ats_ <= kMaximumEntriesWithoutAddress;
  }

  void BeginLine(char first) {
    is_boundary_ = true;
    if (first == ' ' || first == '\t') return;
    colons_ = separators_ = ats_ = words_ = 0;
    if (in_first_header_) ++fields_;
  }

  /// An empty line ends a header; behind that of an embedded mail comes the mail's own. A line that
  /// begins with "--" may be a boundary, behind which a part's header begins.
  void EndLine() {
    if (column_ == 0) {
      in_first_header_ = false;
      in_header_ = in_header_ && embeds_mail_;
      embeds_mail_ = false;
    } else if (is_boundary_ && column_ > 2) {
      in_header_ = true;
      embeds_mail_ = false;
    }
    column_ = 0;
    last_ = '\n';
    matched_ = 0;
  }

  void Count(char c) {
    if (c == ':') ++colons_;
    if (c == ',' || c == ';') ++separators_;
    if (c == '@') ++ats_;
    if (c == '?' && last_ == '=') ++words_;
    // The end "?=" behind base64's own "=" looked like another beginning.
    if (c == '=' && last_ == '?') words_ -= before_last_ == '=' ? 2 : 1;
    words_ = std::max(words_, 0);
    constexpr std::string_view kEmbedded = "message/";
    const char lower = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    matched_ = lower == kEmbedded[matched_] ? matched_ + 1 : lower == kEmbedded[0] ? 1 : 0;
    if (matched_ == kEmbedded.size()) {
      embeds_mail_ = true;
      matched_ = 0;
    }
  }

  bool in_first_header_ = true;
  bool holds_nul_ = false;
  bool in_header_ = true;
  bool embeds_mail_ = false;
  bool is_boundary_ = false;
  std::size_t column_ = 0;
  std::size_t matched_ = 0;
  char last_ = '\n';
  char before_last_ = '\n';
  int fields_ = 0;
  int colons_ = 0;
  int separators_ = 0;
  int ats_ = 0;
  int words_ = 0;
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
