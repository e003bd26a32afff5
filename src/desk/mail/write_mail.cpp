#include <cerrno>
#include <ctime>
#include <string>
#include <vector>

#include "base/error.h"
#include "desk/mail/gmime_stream.h"
#include "desk/mail/header_fields.h"
#include "desk/mail/mail.h"
#include "desk/mail/mail_io.h"
#include "desk/mail/parts.h"
#include "posix/file_descriptor.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa::desk::mail {

namespace {

/// Collects the fields of a header; a field without a value is left out.
class Header {
 public:
  void Add(std::string_view name, std::string_view value) {
    if (!value.empty()) text_ += FoldedField(name, value);
  }

  void Add(std::string_view name, const std::vector<Mailbox>& mailboxes) {
    std::string list;
    for (const auto& mailbox : mailboxes) {
      if (mailbox == Mailbox{}) continue;
      if (!list.empty()) list += ", ";
      list += EncodeMailbox(mailbox);
    }
    Add(name, list);
  }

  const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

std::string EncodeDate(std::time_t date) {
  auto* const local = g_date_time_new_from_unix_local(date);
  if (!local) return "";
  const GText text(g_mime_utils_header_format_date(local));
  g_date_time_unref(local);
  return text.get();
}

std::string EncodeIdentifiers(const std::vector<std::string>& identifiers) {
  std::string list;
  for (const auto& identifier : identifiers) {
    const auto encoded = EncodeIdentifier(identifier);
    if (!list.empty() && !encoded.empty()) list += ' ';
    list += encoded;
  }
  return list;
}

void AddOtherFields(const Mail& mail, MailPurpose purpose, Header& header) {
  for (const auto& [name, value] : mail.fields) {
    if (!IsFieldName(name)) {
      Raise(kInvalidArgument, "\"" + OneLine(name) + "\" is not a valid name for a header field.");
    }
    if (FieldKindOf(name) != FieldKind::kOther) continue;
    if (purpose == MailPurpose::kTravel && NamesBlindCopies(name)) continue;
    header.Add(name, EncodeText(value));
  }
}

std::string HeaderText(const Mail& mail, MailPurpose purpose) {
  Header header;
  header.Add("From", std::vector{mail.from});
  header.Add("To", mail.to);
  header.Add("Cc", mail.cc);
  if (purpose == MailPurpose::kDraft) header.Add("Bcc", mail.bcc);
  header.Add("Reply-To", mail.reply_to);
  header.Add("Subject", EncodeText(mail.subject));
  if (mail.date) header.Add("Date", EncodeDate(*mail.date));
  header.Add("Message-ID", EncodeIdentifier(mail.message_id));
  header.Add("In-Reply-To", EncodeIdentifier(mail.in_reply_to));
  header.Add("References", EncodeIdentifiers(mail.references));
  AddOtherFields(mail, purpose, header);
  header.Add("MIME-Version", "1.0");
  return header.Text();
}

/// A mail ready to be written. Every error in its values is found before the first byte is written.
struct Prepared {
  std::string header;
  Handle<GMimeObject> parts;
};

Prepared Prepare(const Mail& mail, MailPurpose purpose) {
  ParserOptions();
  if (purpose == MailPurpose::kDraft) return {HeaderText(mail, purpose), BuildParts(mail)};
  auto stamped = mail;
  StampMail(stamped);
  return {HeaderText(stamped, purpose), BuildParts(stamped)};
}

/// Returns the error that stopped it, if any.
std::error_code Write(const Prepared& mail, GMimeStream* stream) {
  const auto format = CrLfFormat();
  errno = 0;
  const bool is_written =
      g_mime_stream_write(stream, mail.header.data(), mail.header.size()) >= 0 &&
      g_mime_object_write_to_stream(mail.parts.get(), format.get(), stream) >= 0 &&
      g_mime_stream_flush(stream) >= 0;
  if (is_written) return {};
  return errno != 0 ? posix::LastError() : std::make_error_code(std::errc::io_error);
}

constexpr std::size_t kAtOnce = 256 * 1024;

/// Writes large pieces. GMime's own stream writes 4 KiB at a time.
class FileWriter final : public StreamObject {
 public:
  explicit FileWriter(system::AtomicFile& file) : file_(file) { pending_.reserve(2 * kAtOnce); }

  void Write(std::string_view bytes) override {
    pending_.append(bytes);
    if (pending_.size() >= kAtOnce) Flush();
  }
  void Flush() override {
    file_.Write(pending_);
    pending_.clear();
  }

 private:
  system::AtomicFile& file_;
  std::string pending_;
};

std::string Domain(const std::string& address) {
  const auto at = address.rfind('@');
  return at == std::string::npos || at + 1 == address.size() ? "localhost" : address.substr(at + 1);
}

}  // namespace

void StampMail(Mail& mail) {
  if (!mail.date) mail.date = std::time(nullptr);
  if (!mail.message_id.empty()) return;
  const GText random(g_uuid_string_random());
  const GText domain(g_hostname_to_ascii(Domain(mail.from.address).c_str()));
  mail.message_id = std::string(random.get()) + "@" + (domain ? domain.get() : "localhost");
}

void WriteMail(const Mail& mail, const std::filesystem::path& path, MailPurpose purpose) {
  const auto prepared = Prepare(mail, purpose);
  system::WriteFile(path, [&](system::AtomicFile& file) {
    const auto stream = NewStream(std::make_unique<FileWriter>(file));
    if (const auto failure = Write(prepared, stream.get())) system::Throw(failure);
    file.CommitDurably();
  });
}

std::string FormatMail(const Mail& mail, MailPurpose purpose) {
  const auto prepared = Prepare(mail, purpose);
  const Handle<GMimeStream> stream(g_mime_stream_mem_new());
  Write(prepared, stream.get());
  const GByteArray* const bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()));
  return {reinterpret_cast<const char*>(bytes->data), bytes->len};
}

}  // namespace corvessa::desk::mail
