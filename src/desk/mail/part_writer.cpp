#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "desk/mail/body_text.h"
#include "desk/mail/header_fields.h"
#include "desk/mail/mail.h"
#include "desk/mail/parts.h"

namespace corvessa::desk::mail {

namespace {

using Part = Handle<GMimeObject>;

Part Multipart(const char* subtype, const std::vector<Part>& parts) {
  Part multipart(GMIME_OBJECT(g_mime_multipart_new_with_subtype(subtype)));
  g_mime_multipart_set_boundary(GMIME_MULTIPART(multipart.get()), nullptr);
  for (const auto& part : parts) g_mime_multipart_add(GMIME_MULTIPART(multipart.get()), part.get());
  return multipart;
}

bool PassesAs7Bit(const Attachment& attachment) {
  const Handle<GMimeStream> null(g_mime_stream_null_new());
  const Handle<GMimeStream> examined(g_mime_stream_filter_new(null.get()));
  const Handle<GMimeFilter> examiner(g_mime_filter_best_new(GMIME_FILTER_BEST_ENCODING));
  const Handle<GMimeFilter> line_ends(g_mime_filter_unix2dos_new(FALSE));
  g_mime_stream_filter_add(GMIME_STREAM_FILTER(examined.get()), examiner.get());
  g_mime_stream_filter_add(GMIME_STREAM_FILTER(examined.get()), line_ends.get());
  const auto size = g_mime_stream_write_to_stream(StreamOf(attachment.data).get(), examined.get());
  g_mime_stream_flush(examined.get());
  return size == g_mime_stream_tell(null.get()) &&
         g_mime_filter_best_encoding(GMIME_FILTER_BEST(examiner.get()),
                                     GMIME_ENCODING_CONSTRAINT_7BIT) < GMIME_CONTENT_ENCODING_8BIT;
}

/// Other programs expect a header there and may drop other text.
bool BeginsWithField(const Attachment& attachment) {
  constexpr std::size_t kLongestName = 1000;
  const auto start = attachment.data ? attachment.data->Start(kLongestName) : "";
  return IsFieldName(std::string_view(start).substr(0, start.find(':')));
}

bool IsToken(std::string_view text) {
  return IsFieldName(text) && text.find_first_of("()<>@,;\\\"/[]?=*'%") == std::string_view::npos;
}

void SetType(GMimeObject* part, const std::string& type_name, const Attachment& attachment) {
  const Handle<GMimeContentType> type(
      g_mime_content_type_parse(ParserOptions(), OneLine(type_name).c_str()));
  for (const auto& [name, value] : attachment.parameters) {
    if (!IsToken(name)) continue;
    g_mime_content_type_set_parameter(type.get(), name.c_str(), OneLine(value).c_str());
  }
  g_mime_object_set_content_type(part, type.get());
}

void SetDisposition(GMimeObject* part, const Attachment& attachment) {
  g_mime_object_set_disposition(part, attachment.is_inline ? "inline" : "attachment");
  const auto& name = attachment.file_name.empty() ? attachment.display_name : attachment.file_name;
  const auto line = OneLine(name);
  if (line.empty()) return;
  g_mime_object_set_content_disposition_parameter(part, "filename", line.c_str());
  auto* const parameters =
      g_mime_content_disposition_get_parameters(g_mime_object_get_content_disposition(part));
  // By default GMime would choose the oldest charset that can express the name.
  g_mime_param_set_charset(g_mime_param_list_get_parameter(parameters, "filename"), "utf-8");
}

/// Content and part declare the same encoding, so that GMime writes the lines unchanged.
void SetContent(GMimePart* part, const ContentPtr& lines, GMimeContentEncoding encoding) {
  const Handle<GMimeDataWrapper> content(
      g_mime_data_wrapper_new_with_stream(StreamOf(lines).get(), encoding));
  g_mime_part_set_content_encoding(part, encoding);
  g_mime_part_set_content(part, content.get());
}

/// Base64, except for embedded mails, which must not be encoded: they are written as they are, or
/// as a file of unknown type if that would not preserve them.
Part AttachmentPart(const Attachment& attachment) {
  const bool is_mail = attachment.content_type.starts_with("message/") &&
                       BeginsWithField(attachment) && PassesAs7Bit(attachment);
  const bool is_file = !is_mail && (attachment.content_type.starts_with("message/") ||
                                    attachment.content_type.starts_with("multipart/"));
  Part part(GMIME_OBJECT(g_mime_part_new()));
  if (is_file) {
    SetType(part.get(), "application/octet-stream", {});
  } else {
    SetType(part.get(), attachment.content_type, attachment);
  }
  SetDisposition(part.get(), attachment);
  const auto id = EncodeIdentifier(attachment.content_id);
  if (!id.empty()) g_mime_object_set_content_id(part.get(), id.substr(1, id.size() - 2).c_str());
  SetContent(GMIME_PART(part.get()), is_mail ? attachment.data : Base64Content(attachment.data),
             is_mail ? GMIME_CONTENT_ENCODING_7BIT : GMIME_CONTENT_ENCODING_BASE64);
  return part;
}

bool BelongsToHtml(const Mail& mail, const Attachment& attachment) {
  return attachment.is_inline && !mail.body_html.empty();
}

Part HtmlPart(const Mail& mail) {
  std::vector<Part> parts;
  parts.push_back(TextPart(mail.body_html, "html"));
  for (const auto& attachment : mail.attachments) {
    if (BelongsToHtml(mail, attachment)) parts.push_back(AttachmentPart(attachment));
  }
  return parts.size() == 1 ? std::move(parts.front()) : Multipart("related", parts);
}

Part BodyPart(const Mail& mail) {
  if (mail.body_html.empty()) return TextPart(mail.body_text, "plain");
  if (mail.body_text.empty()) return HtmlPart(mail);
  std::vector<Part> parts;
  parts.push_back(TextPart(mail.body_text, "plain"));
  parts.push_back(HtmlPart(mail));
  return Multipart("alternative", parts);
}

}  // namespace

Handle<GMimeObject> BuildParts(const Mail& mail) {
  std::vector<Part> parts;
  parts.push_back(BodyPart(mail));
  for (const auto& attachment : mail.attachments) {
    if (!BelongsToHtml(mail, attachment)) parts.push_back(AttachmentPart(attachment));
  }
  return parts.size() == 1 ? std::move(parts.front()) : Multipart("mixed", parts);
}

}  // namespace corvessa::desk::mail
