#include <algorithm>
#include <string>
#include <utility>

#include "base/signed_part.h"
#include "desk/mail/body_text.h"
#include "desk/mail/header_fields.h"
#include "desk/mail/mail.h"
#include "desk/mail/mail_io.h"
#include "desk/mail/parts.h"

namespace corvessa::desk::mail {

namespace {

using ContentType = Handle<GMimeContentType>;

std::string TextOrEmpty(const char* text) {
  return text ? text : "";
}

std::string LowerCase(const std::string& text) {
  return GText(g_ascii_strdown(text.c_str(), -1)).get();
}

/// Some programs write a whole Windows path into the field. Escapes its backslashes, which would be
/// read as escapes themselves.
std::string WithWindowsPath(const std::string& field) {
  const std::size_t begin = field.find(":\\");
  const bool is_path = begin != std::string::npos && begin >= 2 && field[begin - 2] == '"' &&
                       field.compare(begin + 2, 1, "\\") != 0;
  if (!is_path) return field;
  const std::size_t end = std::min(field.find('"', begin), field.size());
  std::string escaped;
  for (const char c : field.substr(begin, end - begin)) escaped.append(c == '\\' ? 2 : 1, c);
  return field.substr(0, begin) + escaped + field.substr(end);
}

/// A part's own field on one line; empty when it has none.
std::string PartField(GMimeObject* part, const char* name) {
  auto* const header = g_mime_header_list_get_header(g_mime_object_get_header_list(part), name);
  return header ? JoinEncodedWords(TextOrEmpty(g_mime_header_get_raw_value(header))) : "";
}

std::string TypeName(GMimeObject* part) {
  return LowerCase(
      GText(g_mime_content_type_get_mime_type(g_mime_object_get_content_type(part))).get());
}

bool IsMultipart(GMimeObject* part, const char* subtype) {
  return g_mime_content_type_is_type(g_mime_object_get_content_type(part), "multipart", subtype);
}

class PartReader {
 public:
  /// `bytes` is the mail itself where it is at hand; only then signed parts are told of.
  PartReader(std::shared_ptr<const MailFile> file, std::string_view bytes, Mail& mail)
      : file_(std::move(file)), bytes_(bytes), mail_(mail) {}

  /// A part's position in the multipart around it.
  enum class Place { kAlone, kBesideOthers, kRelated };

  void Read(GMimeObject* part, Place place) {
    if (GMIME_IS_MULTIPART(part)) {
      ReadMultipart(GMIME_MULTIPART(part), place);
    } else if (GMIME_IS_PART(part)) {
      ReadLeaf(GMIME_PART(part), place);
    }
  }

 private:
  void ReadMultipart(GMimeMultipart* multipart, Place place) {
    auto* const part = GMIME_OBJECT(multipart);
    if (g_mime_multipart_get_count(multipart) == 0) {
      ReadUndivided(multipart);
    } else if (IsMultipart(part, "signed") && ReadSigned(multipart, place)) {
      return;
    } else if (place != Place::kRelated && IsMultipart(part, "alternative")) {
      ReadAlternative(multipart);
    } else if (place != Place::kRelated && IsMultipart(part, "related")) {
      ReadRelated(multipart, place);
    } else {
      ReadEach(multipart, place == Place::kRelated ? place : Place::kBesideOthers);
    }
  }

  /// Reads what is signed from the bytes that the signature covers. False for a part that PGP/MIME
  /// has not signed.
  bool ReadSigned(GMimeMultipart* multipart, Place place) {
    if (bytes_.empty() || g_mime_multipart_get_count(multipart) != 2 ||
        mail_.signed_parts.size() >= kMaximumSignedParts ||
        covering_.size() >= kMaximumSignedDepth) {
      return false;
    }
    auto* const signature = g_mime_multipart_get_part(multipart, 1);
    if (!GMIME_IS_PART(signature) || TypeName(signature) != "application/pgp-signature") {
      return false;
    }
    auto content = FirstPartBetween(bytes_, TextOrEmpty(g_mime_multipart_get_boundary(multipart)));
    if (!content) return false;
    const Handle<GMimeStream> stream(
        g_mime_stream_mem_new_with_buffer(content->data(), content->size()));
    const auto message = ParseStream(stream.get(), mail_.incomplete);
    auto* const root = message ? g_mime_message_get_mime_part(message.get()) : nullptr;
    if (!root) return false;
    const std::size_t number = mail_.signed_parts.size();
    mail_.signed_parts.push_back(
        {std::move(*content), ContentOf(GMIME_PART(signature))->Bytes(), SubjectIn(message.get())});
    place = place == Place::kRelated ? place : Place::kBesideOthers;
    covering_.push_back(number);
    Read(root, place);
    covering_.pop_back();
    ReadSignature(GMIME_PART(signature), number, place);
    return true;
  }

  void ReadSignature(GMimePart* signature, std::size_t number, Place place) {
    const std::size_t before = mail_.attachments.size();
    ReadLeaf(signature, place);
    for (std::size_t i = before; i < mail_.attachments.size(); ++i) {
      mail_.attachments[i].is_signature = true;
      mail_.attachments[i].signed_by.push_back(number);
    }
  }

  void ReadEach(GMimeMultipart* multipart, Place place) {
    for (int i = 0; i < g_mime_multipart_get_count(multipart); ++i) {
      Read(g_mime_multipart_get_part(multipart, i), place);
    }
  }

  void ReadAlternative(GMimeMultipart* multipart) {
    const bool around = std::exchange(in_body_alternative_, in_body_alternative_ || !HasBody());
    ReadEach(multipart, Place::kBesideOthers);
    in_body_alternative_ = around;
  }

  void ReadRelated(GMimeMultipart* multipart, Place place) {
    const auto start = RootIndex(multipart);
    Read(g_mime_multipart_get_part(multipart, start),
         place == Place::kAlone ? Place::kBesideOthers : place);
    for (int i = 0; i < g_mime_multipart_get_count(multipart); ++i) {
      if (i != start) Read(g_mime_multipart_get_part(multipart, i), Place::kRelated);
    }
  }

  static int RootIndex(GMimeMultipart* multipart) {
    const auto start =
        TextOrEmpty(g_mime_object_get_content_type_parameter(GMIME_OBJECT(multipart), "start"));
    if (start.size() < 3) return 0;
    const auto root_id = start.substr(1, start.size() - 2);
    auto* const root = g_mime_multipart_get_subpart_from_content_id(multipart, root_id.c_str());
    return root ? std::max(0, g_mime_multipart_index_of(multipart, root)) : 0;
  }

  /// A multipart without a boundary is one text.
  void ReadUndivided(GMimeMultipart* multipart) {
    const auto text = TextOrEmpty(g_mime_multipart_get_prologue(multipart));
    if (text.empty()) return;
    if (!HasBody()) return SetBody(mail_.body_text, has_text_, text, "");
    auto& attachment = mail_.attachments.emplace_back();
    Describe(GMIME_OBJECT(multipart), "text/plain", attachment);
    attachment.data = MemoryContent(text);
  }

  void ReadLeaf(GMimePart* part, Place place) {
    const auto type = TypeName(GMIME_OBJECT(part));
    const bool is_html = type == "text/html";
    if ((is_html || type == "text/plain") && IsBody(part, is_html, place)) {
      ReadBody(part, is_html);
    } else {
      Attach(part, type, place);
    }
  }

  bool IsBody(GMimePart* part, bool is_html, Place place) const {
    if (place == Place::kRelated || g_mime_part_is_attachment(part)) return false;
    // A text with a name is a file, except when it is the whole mail.
    if (place != Place::kAlone && !FileName(GMIME_OBJECT(part)).empty()) return false;
    return in_body_alternative_ ? !(is_html ? has_html_ : has_text_) : !HasBody();
  }

  bool HasBody() const { return has_text_ || has_html_; }

  void ReadBody(GMimePart* part, bool is_html) {
    const auto label =
        TextOrEmpty(g_mime_object_get_content_type_parameter(GMIME_OBJECT(part), "charset"));
    SetBody(is_html ? mail_.body_html : mail_.body_text, is_html ? has_html_ : has_text_,
            ContentOf(part)->Bytes(), label);
    if (!is_html) mail_.body_charset = label;
  }

  void SetBody(std::string& body, bool& is_set, const std::string& bytes,
               const std::string& label) {
    body = WithLineEnds(BodyToUtf8(bytes, label), "\r\n");
    (&body == &mail_.body_html ? mail_.html_signed_by : mail_.text_signed_by) = covering_;
    is_set = true;
  }

  ContentPtr ContentOf(GMimePart* part, bool has_native_lines = false) {
    auto* const content = g_mime_part_get_content(part);
    auto* const stream = content ? g_mime_data_wrapper_get_stream(content) : nullptr;
    if (!stream) return MemoryContent("");
    PartEncoding encoding{g_mime_data_wrapper_get_encoding(content), has_native_lines};
    if (encoding.transfer == GMIME_CONTENT_ENCODING_UUENCODE &&
        !HoldsUuencodedLines(*PartContent(stream, {}, file_))) {
      // Decoding would destroy the text.
      encoding.transfer = GMIME_CONTENT_ENCODING_BINARY;
      mail_.incomplete = true;
    }
    return PartContent(stream, encoding, file_);
  }

  void Attach(GMimePart* part, const std::string& type, Place place) {
    // An unencoded embedded mail is text, with whatever line ends the file has.
    const bool is_encoded = g_mime_part_get_content_encoding(part) >= GMIME_CONTENT_ENCODING_BINARY;
    const auto content = ContentOf(part, type.starts_with("message/") && !is_encoded);
    auto& attachment = mail_.attachments.emplace_back();
    Describe(GMIME_OBJECT(part), type, attachment, content.get());
    attachment.is_inline =
        !attachment.content_id.empty() &&
        (place == Place::kRelated || HasDisposition(GMIME_OBJECT(part), "inline"));
    attachment.data = content;
  }

  void Describe(GMimeObject* part, const std::string& type, Attachment& attachment,
                const Content* content = nullptr) const {
    attachment.signed_by = covering_;
    attachment.content_type = type;
    attachment.content_id = OneLine(TextOrEmpty(g_mime_object_get_content_id(part)));
    attachment.parameters = Parameters(part);
    attachment.display_name = FileName(part);
    attachment.file_name = SafeFileName(attachment.display_name);
    if (attachment.file_name.empty() && content && type.starts_with("message/")) {
      attachment.file_name = SubjectFileName(SubjectOf(*content));
      attachment.is_named_by_subject = !attachment.file_name.empty();
    }
    if (attachment.file_name.empty()) {
      attachment.file_name = GenericFileName(mail_.attachments.size(), type);
    }
    if (attachment.display_name.empty()) attachment.display_name = attachment.file_name;
  }

  /// The subject of an embedded mail; empty if its header is longer than mail programs write.
  static std::string SubjectOf(const Content& content) {
    constexpr std::size_t kLongestHeader = 64 * 1024;
    const auto text = content.Start(kLongestHeader);
    const Handle<GMimeStream> start(g_mime_stream_mem_new_with_buffer(text.data(), text.size()));
    if (FindFieldFault(start.get()) == FieldFault::kRunaway) return "";
    const Handle<GMimeParser> parser(g_mime_parser_new_with_stream(start.get()));
    const Handle<GMimeMessage> message(
        g_mime_parser_construct_message(parser.get(), ParserOptions()));
    return message ? DecodeText(PartField(GMIME_OBJECT(message.get()), "Subject")) : "";
  }

  static std::string SubjectFileName(std::string subject) {
    std::replace(subject.begin(), subject.end(), '/', '-');
    std::replace(subject.begin(), subject.end(), '\\', '-');
    return subject.empty() ? "" : SafeFileName(subject + ".eml");
  }

  static bool HasDisposition(GMimeObject* part, const char* value) {
    auto* const disposition = g_mime_object_get_content_disposition(part);
    return disposition &&
           g_ascii_strcasecmp(g_mime_content_disposition_get_disposition(disposition), value) == 0;
  }

  // Parsed from the raw fields, because GMime parsed them before encoded words were joined.
  static std::string FileName(GMimeObject* part) {
    const auto disposition = WithWindowsPath(PartField(part, "Content-Disposition"));
    if (!disposition.empty()) {
      const Handle<GMimeContentDisposition> parsed(
          g_mime_content_disposition_parse(ParserOptions(), disposition.c_str()));
      const auto name =
          OneLine(TextOrEmpty(g_mime_content_disposition_get_parameter(parsed.get(), "filename")));
      if (!name.empty()) return name;
    }
    const auto type = ParsedType(part);
    return OneLine(TextOrEmpty(g_mime_content_type_get_parameter(type.get(), "name")));
  }

  static ContentType ParsedType(GMimeObject* part) {
    return ContentType(g_mime_content_type_parse(
        ParserOptions(), WithWindowsPath(PartField(part, "Content-Type")).c_str()));
  }

  static std::vector<HeaderField> Parameters(GMimeObject* part) {
    const auto type = ParsedType(part);
    std::vector<HeaderField> parameters;
    auto* const list = g_mime_content_type_get_parameters(type.get());
    for (int i = 0; i < g_mime_param_list_length(list); ++i) {
      auto* const parameter = g_mime_param_list_get_parameter_at(list, i);
      const auto name = LowerCase(g_mime_param_get_name(parameter));
      if (name != "name") {
        parameters.push_back({name, OneLine(TextOrEmpty(g_mime_param_get_value(parameter)))});
      }
    }
    return parameters;
  }

  std::shared_ptr<const MailFile> file_;
  std::string_view bytes_;
  Mail& mail_;
  std::vector<std::size_t> covering_;
  bool has_text_ = false;
  bool has_html_ = false;
  bool in_body_alternative_ = false;
};

}  // namespace

void ReadParts(GMimeObject* root, const std::shared_ptr<const MailFile>& file, Mail& mail) {
  PartReader(file, {}, mail).Read(root, PartReader::Place::kAlone);
}

void ReadPartsOf(std::string_view bytes, GMimeObject* root, Mail& mail) {
  PartReader(nullptr, bytes, mail).Read(root, PartReader::Place::kAlone);
}

}  // namespace corvessa::desk::mail
