#include "desk/mail_bridge.h"

#include <algorithm>
#include <memory>
#include <sstream>
#include <utility>

#include "base/text.h"
#include "desk/mail/mail_io.h"
#include "desk/profile/system_services.h"
#include "message/message_operations.h"
#include "platform/redemption.h"

namespace corvessa::desk {
namespace {

bool IsAddInField(std::string_view name) {
  return LCase(name).starts_with(LCase(HeaderFieldName("")));
}

/// Without the mark the quoted text would travel in clear, so only an undamaged "False" in the
/// first field removes it.
std::string ReplyFlag(std::string_view before, std::string_view value) {
  return before != "True" && LCase(Trim(value)) == "false" ? "False" : "True";
}

/// An attachment of a mail, unchanged.
class MailContent final : public Content {
 public:
  explicit MailContent(mail::Attachment attachment) : attachment_(std::move(attachment)) {}
  std::unique_ptr<ContentReader> Open() const override { return attachment_.data->Open(); }
  std::uintmax_t Size() const override { return attachment_.data->Size(); }
  const mail::Attachment& Source() const { return attachment_; }

 private:
  mail::Attachment attachment_;
};

platform::SharedText Share(const std::string& text) {
  return text.empty() ? EmptyText() : std::make_shared<const std::string>(text);
}

Person PersonOf(const mail::Mailbox& mailbox) {
  return {mailbox.name.empty() ? mailbox.address : mailbox.name, mailbox.address};
}

/// The address shown for a missing name is not a name.
mail::Mailbox MailboxOf(const std::string& name, const std::string& address) {
  return {name == address ? std::string() : name, address};
}

std::string Bracketed(const std::string& identifier) {
  return identifier.empty() ? std::string() : "<" + identifier + ">";
}

std::string Unbracketed(std::string_view identifier) {
  if (identifier.starts_with('<')) identifier.remove_prefix(1);
  if (identifier.ends_with('>')) identifier.remove_suffix(1);
  return std::string(identifier);
}

void AddRecipients(const std::vector<mail::Mailbox>& mailboxes, RecipientKind kind,
                   std::vector<RecipientData>& recipients) {
  for (const mail::Mailbox& mailbox : mailboxes) {
    const Person person = PersonOf(mailbox);
    recipients.push_back({kind, person.name, person.address, {}, {}});
  }
}

AttachmentData DataOf(const mail::Attachment& attachment) {
  return {.file_name = attachment.file_name,
          .display_name =
              attachment.display_name.empty() ? attachment.file_name : attachment.display_name,
          .content = std::make_shared<MailContent>(attachment),
          .content_type = attachment.content_type,
          .content_id = attachment.content_id};
}

ItemData ItemOf(const mail::Mail& source) {
  ItemData item;
  AddRecipients(source.to, RecipientKind::kTo, item.recipients);
  AddRecipients(source.cc, RecipientKind::kCc, item.recipients);
  AddRecipients(source.bcc, RecipientKind::kBcc, item.recipients);
  for (const mail::Mailbox& mailbox : source.reply_to) item.reply_to.push_back(PersonOf(mailbox));
  item.subject = source.subject;
  // Some programs put a blank text beside the HTML.
  const bool is_blank = source.body_text.find_first_not_of(" \t\r\n") == std::string::npos;
  if (!is_blank || source.body_html.empty()) item.body = Share(source.body_text);
  item.body_charset = source.body_charset;
  item.html = Share(source.body_html);
  for (const mail::Attachment& attachment : source.attachments) {
    item.attachments.push_back(std::make_shared<const AttachmentData>(DataOf(attachment)));
  }
  for (const mail::HeaderField& field : source.fields) {
    if (!IsAddInField(field.name)) continue;
    std::string& value = item.properties[{std::string(platform::kInternetHeaders), field.name}];
    value = IsReplyField(field.name) ? ReplyFlag(value, field.value) : field.value;
  }
  item.message_id = Bracketed(source.message_id);
  item.in_reply_to = Bracketed(source.in_reply_to);
  for (const std::string& reference : source.references) {
    item.references += (item.references.empty() ? "" : " ") + Bracketed(reference);
  }
  return item;
}

std::vector<mail::Mailbox> MailboxesOf(const ItemData& item, RecipientKind kind) {
  std::vector<mail::Mailbox> mailboxes;
  for (const RecipientData& recipient : item.recipients) {
    if (recipient.kind == kind) mailboxes.push_back(MailboxOf(recipient.name, recipient.address));
  }
  return mailboxes;
}

/// What the add-in attached goes by its display name; its file had the name of a temporary file.
mail::Attachment AttachmentOf(const AttachmentData& data) {
  if (const auto* unchanged = dynamic_cast<const MailContent*>(data.content.get())) {
    return unchanged->Source();
  }
  mail::Attachment attachment;
  attachment.display_name = data.display_name;
  attachment.file_name = data.display_name.empty() ? data.file_name : data.display_name;
  attachment.data = data.content;
  return attachment;
}

}  // namespace

bool IsReplyField(std::string_view name) {
  return LCase(name).ends_with("-encrypted-reply");
}

ItemData ReceivedItem(const mail::Mail& source) {
  ItemData item = ItemOf(source);
  item.sender = PersonOf(source.from);
  if (item.sender.name.empty()) item.sender.name = "(unknown sender)";
  item.source = source.source;
  if (source.date) item.received_time = DateTimeText(*source.date);
  return item;
}

ItemData DraftItem(const mail::Mail& source) {
  ItemData item = ItemOf(source);
  item.folder = kDrafts;
  // The sender chooses anew how it is protected.
  std::erase_if(item.properties, [](const auto& property) {
    const std::string name = LCase(property.first.second);
    return name == LCase(HeaderFieldName(kNoEncrypt)) || name == LCase(HeaderFieldName(kNoSign));
  });
  // An embedded mail without a name is named by its subject, which must not travel in clear.
  for (std::size_t i = 0; i < source.attachments.size(); ++i) {
    if (!source.attachments[i].is_named_by_subject) continue;
    AttachmentData attachment = *item.attachments[i];
    attachment.file_name = attachment.display_name =
        mail::GenericFileName(i + 1, source.attachments[i].content_type);
    item.attachments[i] = std::make_shared<const AttachmentData>(std::move(attachment));
  }
  return item;
}

mail::Mail MailOf(const ItemData& item, mail::Mail base) {
  base.to = MailboxesOf(item, RecipientKind::kTo);
  base.cc = MailboxesOf(item, RecipientKind::kCc);
  base.bcc = MailboxesOf(item, RecipientKind::kBcc);
  base.subject = item.subject;
  base.body_text = *item.body;
  base.body_html = *item.html;
  base.attachments.clear();
  for (const auto& attachment : item.attachments) {
    base.attachments.push_back(AttachmentOf(*attachment));
  }
  std::erase_if(base.fields, [](const auto& field) { return IsAddInField(field.name); });
  for (const auto& [name, value] : HeaderLines(item)) base.fields.push_back({name, value});
  base.in_reply_to = Unbracketed(item.in_reply_to);
  base.references.clear();
  std::istringstream references(item.references);
  for (std::string reference; references >> reference;) {
    base.references.push_back(Unbracketed(reference));
  }
  return base;
}

std::string Shown(const Person& person) {
  if (person.address.empty() || person.name == person.address) return person.name;
  if (person.name.empty()) return person.address;
  return person.name + " <" + person.address + ">";
}

}  // namespace corvessa::desk
