#include <algorithm>
#include <string>
#include <string_view>

#include "base/error.h"
#include "desk/mail/body_text.h"
#include "desk/mail/gmime_handle.h"
#include "desk/mail/header_fields.h"
#include "desk/mail/mail.h"
#include "desk/mail/mail_io.h"
#include "desk/mail/parts.h"

namespace corvessa::desk::mail {

namespace {

/// GMime skips header lines that are not a field.
void NoteWarning(gint64 /*offset*/, GMimeParserWarning warning, const gchar* /*item*/,
                 gpointer incomplete) {
  if (warning == GMIME_WARN_TRUNCATED_MESSAGE || warning == GMIME_CRIT_NESTING_OVERFLOW ||
      warning == GMIME_CRIT_INVALID_HEADER_NAME) {
    *static_cast<bool*>(incomplete) = true;
  }
}

void Append(std::vector<Mailbox>& list, std::vector<Mailbox> more) {
  list.insert(list.end(), more.begin(), more.end());
}

void SetFirst(std::string& member, const std::vector<std::string>& values) {
  if (member.empty() && !values.empty()) member = values.front();
}

void ReadFrom(const std::string& raw, Mail& mail) {
  const auto authors = DecodeMailboxes(raw);
  if (mail.from == Mailbox{} && !authors.empty()) mail.from = authors.front();
}

void ReadField(const std::string& name, const std::string& raw, Mail& mail) {
  switch (FieldKindOf(name)) {
    case FieldKind::kFrom:
      return ReadFrom(raw, mail);
    case FieldKind::kTo:
      return Append(mail.to, DecodeMailboxes(raw));
    case FieldKind::kCc:
      return Append(mail.cc, DecodeMailboxes(raw));
    case FieldKind::kBcc:
      return Append(mail.bcc, DecodeMailboxes(raw));
    case FieldKind::kReplyTo:
      return Append(mail.reply_to, DecodeMailboxes(raw));
    case FieldKind::kSubject:
      if (mail.subject.empty()) mail.subject = DecodeText(raw);
      return;
    case FieldKind::kDate:
      if (!mail.date) mail.date = DecodeDate(raw);
      return;
    case FieldKind::kMessageId:
      return SetFirst(mail.message_id, DecodeIdentifiers(raw));
    case FieldKind::kInReplyTo:
      return SetFirst(mail.in_reply_to, DecodeIdentifiers(raw));
    case FieldKind::kReferences:
      mail.references = DecodeIdentifiers(raw);
      return;
    case FieldKind::kMime:
      return;
    case FieldKind::kOther:
      if (IsFieldName(name)) mail.fields.push_back({name, DecodeText(raw)});
  }
}

/// False when the header has none of the fields of a mail.
bool ReadHeader(GMimeMessage* message, Mail& mail) {
  auto* const headers = g_mime_object_get_header_list(GMIME_OBJECT(message));
  bool is_mail = false;
  for (int i = 0; i < g_mime_header_list_get_count(headers); ++i) {
    auto* const header = g_mime_header_list_get_header_at(headers, i);
    const std::string name = g_mime_header_get_name(header);
    const auto* const raw = g_mime_header_get_raw_value(header);
    is_mail = is_mail || FieldKindOf(name) != FieldKind::kOther;
    ReadField(name, raw ? raw : "", mail);
  }
  return is_mail;
}

/// GMime refuses a header that is cut within a field's name unless line ends follow.
Handle<GMimeMessage> ParseCutHeader(GMimeStream* stream) {
  const Handle<GMimeStream> whole(g_mime_stream_cat_new());
  const Handle<GMimeStream> line_ends(g_mime_stream_mem_new_with_buffer("\n\n", 2));
  g_mime_stream_reset(stream);
  g_mime_stream_cat_add_source(GMIME_STREAM_CAT(whole.get()), stream);
  g_mime_stream_cat_add_source(GMIME_STREAM_CAT(whole.get()), line_ends.get());
  bool ignored = false;
  return ParseStream(whole.get(), ignored);
}

[[noreturn]] void RaiseUnreadable(const std::string& title) {
  Raise(kInvalidArgument, title + " holds a header field that cannot be read.");
}

bool NamesContentType(GMimeMessage* message) {
  auto* const headers = g_mime_object_get_header_list(GMIME_OBJECT(message));
  if (g_mime_header_list_get_header(headers, "Content-Type")) return true;
  // GMime gives a part's own fields to the part.
  auto* const root = g_mime_message_get_mime_part(message);
  return root && g_mime_header_list_get_header(g_mime_object_get_header_list(root), "Content-Type");
}

Mail ReadMail(GMimeStream* stream, const std::shared_ptr<const MailFile>& file,
              const std::string& title) {
  const auto fault = FindFieldFault(stream);
  if (fault == FieldFault::kRunaway) RaiseUnreadable(title);
  Mail mail;
  auto message = ParseStream(stream, mail.incomplete);
  if (!message) {
    message = ParseCutHeader(stream);
    mail.incomplete = true;
  }
  // Some programs keep only what stands between the boundaries of a mail.
  if (!message || (!ReadHeader(message.get(), mail) && !NamesContentType(message.get()))) {
    Raise(kInvalidArgument, title + " is not a mail message.");
  }
  if (fault == FieldFault::kNul) RaiseUnreadable(title);
  if (auto* const root = g_mime_message_get_mime_part(message.get())) ReadParts(root, file, mail);
  return mail;
}

/// Some editors put a byte order mark before UTF-8, which would hide the first field's name.
Handle<GMimeStream> SkipByteOrderMark(GMimeStream* stream) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  char start[kMark.size()] = {};
  const auto count = g_mime_stream_read(stream, start, sizeof start);
  g_mime_stream_reset(stream);
  const bool is_marked = count == sizeof start && std::string_view(start, sizeof start) == kMark;
  return is_marked ? Handle<GMimeStream>(g_mime_stream_substream(stream, kMark.size(), -1))
                   : AddReference(stream);
}

/// A text that begins with armour is all that was kept of a mail.
bool IsBareArmour(GMimeStream* stream) {
  constexpr std::string_view kMarks[] = {"-----BEGIN PGP MESSAGE-----",
                                         "-----BEGIN PGP SIGNED MESSAGE-----"};
  char start[64] = {};
  const auto count = g_mime_stream_read(stream, start, sizeof start);
  g_mime_stream_reset(stream);
  const std::string_view text(start, static_cast<std::size_t>(std::max<gssize>(count, 0)));
  return std::ranges::any_of(kMarks, [&](auto mark) { return text.starts_with(mark); });
}

}  // namespace

Handle<GMimeMessage> ParseStream(GMimeStream* stream, bool& incomplete) {
  const auto options = ParserOptionsThatWarn(NoteWarning, &incomplete);
  const Handle<GMimeParser> parser(g_mime_parser_new_with_stream(stream));
  return Handle<GMimeMessage>(g_mime_parser_construct_message(parser.get(), options.get()));
}

std::optional<std::string> SubjectIn(GMimeMessage* message) {
  auto* const header = g_mime_header_list_get_header(
      g_mime_object_get_header_list(GMIME_OBJECT(message)), "Subject");
  const char* const raw = header ? g_mime_header_get_raw_value(header) : nullptr;
  return raw ? std::optional(DecodeText(raw)) : std::nullopt;
}

Entity ParseEntity(std::string_view bytes) {
  ParserOptions();
  Entity entity;
  const Handle<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size()));
  const bool is_readable = FindFieldFault(stream.get()) != FieldFault::kRunaway;
  const auto message = is_readable ? ParseStream(stream.get(), entity.content.incomplete) : nullptr;
  entity.is_mime = message && NamesContentType(message.get());
  auto* const root = entity.is_mime ? g_mime_message_get_mime_part(message.get()) : nullptr;
  if (!root) {
    entity.content.body_text = WithLineEnds(BodyToUtf8(bytes, ""), "\r\n");
    return entity;
  }
  entity.subject = SubjectIn(message.get());
  ReadPartsOf(bytes, root, entity.content);
  return entity;
}

Mail LoadMail(const std::filesystem::path& path) {
  const auto file = MailFile::Open(path);
  const std::string title = path == "-" ? "The input" : path.string();
  if (file->Size() == 0) Raise(kInvalidArgument, title + " is empty, not a mail message.");
  if (const auto stream = SkipByteOrderMark(file->Stream()); IsBareArmour(stream.get())) {
    Mail mail;
    mail.source = PartContent(file->Stream(), {}, file);
    mail.body_text =
        WithLineEnds(BodyToUtf8(PartContent(stream.get(), {}, file)->Bytes(), ""), "\r\n");
    return mail;
  }
  Mail mail = ReadMail(SkipByteOrderMark(file->Stream()).get(), file, title);
  mail.source = PartContent(file->Stream(), {}, file);
  return mail;
}

Mail ParseMail(const std::string& bytes) {
  ParserOptions();
  const Handle<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size()));
  return ReadMail(stream.get(), nullptr, "The text");
}

}  // namespace corvessa::desk::mail
