#include "mime/mime_reader.h"

#include <utility>

#include "base/html_text.h"
#include "base/signed_part.h"
#include "base/text.h"
#include "mime/fields.h"

namespace corvessa::mime {
namespace {

using platform::MimeFile;
using platform::MimeMessage;

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::size_t kMaximumDepth = 20;
constexpr std::size_t kMaximumParts = 2000;

/// A line "--" and the boundary, and "--" behind it when it is the last.
struct BoundaryLine {
  std::size_t begin;
  std::size_t end;
  bool is_last;
};

BoundaryLine NextBoundary(std::string_view body, const std::string& delimiter, std::size_t from) {
  for (std::size_t at = body.find(delimiter, from); at != std::string_view::npos;
       at = body.find(delimiter, at + 1)) {
    if (at > 0 && body[at - 1] != '\n') continue;
    const std::size_t line_end = body.find('\n', at);
    const std::size_t end = line_end == std::string_view::npos ? body.size() : line_end + 1;
    const std::size_t rest = at + delimiter.size();
    const std::string_view tail = Trim(body.substr(rest, end - rest), kBlanks);
    if (tail.empty() || tail == "--") return {at, end, !tail.empty()};
  }
  return {body.size(), body.size(), true};
}

/// The parts of a multipart; a missing end is taken as there.
std::vector<std::string_view> SplitParts(std::string_view body, const std::string& boundary) {
  std::vector<std::string_view> parts;
  if (boundary.empty()) return parts;
  const std::string delimiter = "--" + boundary;
  BoundaryLine line = NextBoundary(body, delimiter, 0);
  while (!line.is_last && parts.size() < kMaximumParts) {
    const BoundaryLine next = NextBoundary(body, delimiter, line.end);
    std::string_view part = body.substr(line.end, next.begin - line.end);
    // The line break before a boundary belongs to it.
    if (next.begin < body.size() && part.ends_with('\n')) part.remove_suffix(1);
    if (next.begin < body.size() && part.ends_with('\r')) part.remove_suffix(1);
    parts.push_back(part);
    line = next;
  }
  return parts;
}

struct Part {
  Header header;
  Parameters type;
  Parameters disposition;
};

class Reading {
 public:
  explicit Reading(MimeMessage& message) : message_(message) {}

  enum class Place { kAlone, kBesideOthers, kRelated };

  void Read(std::string_view entity, Place place) { Read(PartOf(entity), place); }

  void Read(const Part& part, Place place) {
    const bool is_multipart = part.type.value.starts_with("multipart/");
    if (!is_multipart || depth_ >= kMaximumDepth) return ReadLeaf(part, place);
    const auto parts = SplitParts(part.header.body, part.type.Get("boundary"));
    if (parts.empty()) return ReadLeaf(part, place);
    ++depth_;
    if (part.type.value != "multipart/signed" || !ReadSigned(part, parts, place)) {
      ReadEach(part.type.value, parts, place);
    }
    --depth_;
  }

  static Part PartOf(std::string_view entity) {
    Part part{ReadHeader(entity), {}, {}};
    const std::string* const type = part.header.Find("content-type");
    part.type = ParseParameters(type ? *type : "text/plain");
    const std::string* const disposition = part.header.Find("content-disposition");
    part.disposition = ParseParameters(disposition ? *disposition : "");
    return part;
  }

  /// Of the plain texts and the HTML, one each; HTML counts only without plain text.
  void TakeText() {
    if (has_html_ && Trim(message_.text, kBlanks).empty()) {
      message_.text = WithCrLf(HtmlToText(html_));
      message_.text_signed_by = html_signed_by_;
    }
  }

 private:
  void ReadEach(const std::string& type, const std::vector<std::string_view>& parts, Place place) {
    if (place == Place::kAlone) place = Place::kBesideOthers;
    const bool is_body = place != Place::kRelated;
    const bool around = in_alternative_;
    if (is_body && type == "multipart/alternative") in_alternative_ |= !has_text_ && !has_html_;
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const bool is_picture = is_body && type == "multipart/related" && i > 0;
      Read(parts[i], is_picture ? Place::kRelated : place);
    }
    in_alternative_ = around;
  }

  /// Reads what is signed from the bytes that the signature covers. False for a part that PGP/MIME
  /// has not signed.
  bool ReadSigned(const Part& part, const std::vector<std::string_view>& parts, Place place) {
    if (parts.size() != 2 || message_.signatures.size() >= kMaximumSignedParts ||
        covering_.size() >= kMaximumSignedDepth) {
      return false;
    }
    const Part signature = PartOf(parts[1]);
    if (signature.type.value != "application/pgp-signature") return false;
    const auto content = FirstPartBetween(part.header.body, part.type.Get("boundary"));
    if (!content) return false;
    const std::size_t number = message_.signatures.size();
    const Part signed_part = PartOf(*content);
    message_.signatures.push_back({*content, BytesOf(signature), SubjectOf(signed_part)});
    if (place == Place::kAlone) place = Place::kBesideOthers;
    covering_.push_back(number);
    Read(signed_part, place);
    covering_.pop_back();
    Attach(signature);
    message_.files.back().is_signature = true;
    message_.files.back().signed_by.push_back(number);
    return true;
  }

  static std::optional<std::string> SubjectOf(const Part& part) {
    const std::string* const raw = part.header.Find("subject");
    return raw ? std::optional(ForDisplay(DecodeWords(*raw))) : std::nullopt;
  }

  static std::string BytesOf(const Part& part) {
    const std::string* const encoding = part.header.Find("content-transfer-encoding");
    return DecodeTransfer(part.header.body, encoding ? LCase(Trim(*encoding, kBlanks)) : "");
  }

  void ReadLeaf(const Part& part, Place place) {
    const bool is_html = part.type.value == "text/html";
    const bool is_text = is_html || part.type.value == "text/plain";
    if (!is_text || !IsBody(part, is_html, place)) return Attach(part);
    const std::string text = TextIn(BytesOf(part), part.type.Get("charset"));
    if (is_html) {
      html_ = text;
      html_signed_by_ = covering_;
      has_html_ = true;
    } else {
      message_.text = WithCrLf(text);
      message_.text_signed_by = covering_;
      has_text_ = true;
    }
  }

  bool IsBody(const Part& part, bool is_html, Place place) const {
    if (place == Place::kRelated || part.disposition.value == "attachment") return false;
    // A text with a name is a file, except when it is the whole mail.
    if (place != Place::kAlone && !NameOf(part).empty()) return false;
    return in_alternative_ ? !(is_html ? has_html_ : has_text_) : !has_text_ && !has_html_;
  }

  static std::string NameOf(const Part& part) {
    const std::string name = ForDisplay(part.disposition.Get("filename"));
    return name.empty() ? ForDisplay(part.type.Get("name")) : name;
  }

  std::string GenericName(const Part& part) const {
    if (part.type.value == "message/rfc822") {
      const auto subject = SubjectOf(PartOf(part.header.body));
      if (subject && !subject->empty()) return *subject + ".eml";
    }
    const std::string number = Decimal(static_cast<std::int64_t>(message_.files.size() + 1));
    return "ATT" + std::string(number.size() < 5 ? 5 - number.size() : 0, '0') + number +
           (part.type.value.starts_with("text/") ? ".txt" : ".dat");
  }

  void Attach(const Part& part) {
    std::string name = NameOf(part);
    if (name.empty()) name = GenericName(part);
    message_.files.push_back({.name = std::move(name),
                              .content_type = part.type.value,
                              .bytes = BytesOf(part),
                              .signed_by = covering_});
  }

  MimeMessage& message_;
  platform::MimeCoverage covering_;
  std::size_t depth_ = 0;
  std::string html_;
  platform::MimeCoverage html_signed_by_;
  bool has_text_ = false;
  bool has_html_ = false;
  bool in_alternative_ = false;
};

}  // namespace

MimeMessage MimeReader::Read(std::string_view mail) {
  MimeMessage message;
  Reading reading(message);
  const Part root = Reading::PartOf(mail);
  message.is_mime = root.header.Find("content-type") != nullptr;
  if (!message.is_mime) {
    message.text = WithCrLf(TextIn(mail, ""));
    return message;
  }
  if (const std::string* const subject = root.header.Find("subject")) {
    message.subject = ForDisplay(DecodeWords(*subject));
  }
  reading.Read(root, Reading::Place::kAlone);
  reading.TakeText();
  return message;
}

}  // namespace corvessa::mime
