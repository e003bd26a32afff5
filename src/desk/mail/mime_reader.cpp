#include "desk/mail/mime_reader.h"

#include <utility>

#include "base/html_text.h"
#include "desk/mail/mail_io.h"

namespace corvessa::desk::mail {
namespace {

platform::MimeFile FileOf(Attachment& attachment) {
  return {.name = std::move(attachment.display_name),
          .content_type = std::move(attachment.content_type),
          .bytes = attachment.data->Bytes(),
          .signed_by = std::move(attachment.signed_by),
          .is_signature = attachment.is_signature};
}

}  // namespace

platform::MimeMessage MimeReader::Read(std::string_view bytes) {
  Entity entity = ParseEntity(bytes);
  platform::MimeMessage message{.is_mime = entity.is_mime, .subject = std::move(entity.subject)};
  Mail& content = entity.content;
  const bool has_text = content.body_text.find_first_not_of(" \t\r\n") != std::string::npos;
  if (has_text || content.body_html.empty()) {
    message.text = std::move(content.body_text);
    message.text_signed_by = std::move(content.text_signed_by);
  } else {
    message.text = HtmlToText(content.body_html);
    message.text_signed_by = std::move(content.html_signed_by);
  }
  for (Attachment& attachment : content.attachments) {
    message.files.push_back(FileOf(attachment));
  }
  for (SignedPart& part : content.signed_parts) {
    message.signatures.push_back(
        {std::move(part.content), std::move(part.signature), std::move(part.subject)});
  }
  return message;
}

}  // namespace corvessa::desk::mail
