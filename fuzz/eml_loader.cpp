#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/error.h"
#include "desk/mail/mail.h"
#include "desk/mail/mail_io.h"

namespace {

using corvessa::desk::mail::Mail;

void Require(bool condition) {
  if (!condition) std::abort();
}

void RequireSafeNames(const Mail& mail) {
  for (const auto& attachment : mail.attachments) {
    const auto& name = attachment.file_name;
    Require(!name.empty() && name.size() <= 200 && name != "." && name != "..");
    for (const char c : name) Require(c != '/' && c != '\\' && static_cast<unsigned char>(c) >= 32);
  }
}

/// Whatever was read must say the same after being written and read again.
void RequireSameAfterWriting(const Mail& mail) {
  const auto copy = corvessa::desk::mail::ParseMail(
      "X-First: 1\r\n" +
      corvessa::desk::mail::FormatMail(mail, corvessa::desk::mail::MailPurpose::kDraft));
  Require(copy.body_text == mail.body_text && copy.body_html == mail.body_html);
  Require(copy.subject == mail.subject && copy.attachments.size() == mail.attachments.size());
  Require(!copy.incomplete);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const auto mail = corvessa::desk::mail::ParseMail({reinterpret_cast<const char*>(data), size});
    RequireSafeNames(mail);
    for (const auto& attachment : mail.attachments) attachment.data->Bytes();
    RequireSameAfterWriting(mail);
  } catch (const corvessa::Error&) {
    // A clear refusal is an answer.
  }
  return 0;
}
