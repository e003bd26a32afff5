#include "desk/sending.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "base/text.h"
#include "desk/command_error.h"
#include "desk/desk_host.h"
#include "desk/mail/mail_io.h"
#include "desk/mail_bridge.h"
#include "desk/terminal/answers.h"
#include "message/armour.h"
#include "message/header_fields.h"
#include "platform/redemption.h"

namespace corvessa::desk {
namespace {

constexpr std::string_view kExternalForm = "frmSendFromExternalApplication";
constexpr std::string_view kEncryptOnSend = "Encrypt on send";
constexpr std::string_view kSignOnSend = "Sign on send";

void Release(const Bars& bars, std::string_view caption) {
  const auto button = bars.FindButton(caption);
  if (button && button->Properties().state == platform::kButtonDown) button->Click();
}

void PressChoices(const Bars& bars, const SendChoices& choices) {
  if (choices.no_encrypt) Release(bars, kEncryptOnSend);
  if (choices.no_sign) Release(bars, kSignOnSend);
}

/// Watches the text of a message while it is sent: once encrypted, it no longer shows that it was
/// signed. A draft whose author wrote armour into it was neither signed nor encrypted here, even if
/// the add-in writes that text back.
class ProtectionWatch final : public platform::MailItemEvents {
 public:
  explicit ProtectionWatch(const ItemPtr& item)
      : item_(item), written_(item->Data().body), subscription_(item->Subscribe(*this)) {}
  bool IsEncrypted() const { return is_encrypted_; }
  bool IsSigned() const { return is_signed_; }

  void PropertyChange(std::string_view /*name*/) override {
    const ItemData& data = item_->Data();
    // Protected text is plain text.
    if (!data.html->empty()) written_ = data.body;
    const bool is_protected = *data.body != *written_;
    is_encrypted_ = is_protected && IsPGPMessage(*data.body);
    // The add-in clears an HTML message before it inserts the encrypted text.
    if (is_encrypted_ || (is_protected && data.body->empty())) return;
    is_signed_ = is_protected && IsPGPSignedMessage(*data.body);
  }
  void AttachmentRead(const platform::AttachmentPtr& /*attachment*/) override {}
  void Open(bool& /*cancel*/) override {}
  void Read() override {}
  void Close(bool& /*cancel*/) override {}
  void Reply(const platform::MailItemPtr& /*response*/, bool& /*cancel*/) override {}
  void ReplyAll(const platform::MailItemPtr& /*response*/, bool& /*cancel*/) override {}
  void Forward(const platform::MailItemPtr& /*forward*/, bool& /*cancel*/) override {}

 private:
  ItemPtr item_;
  platform::SharedText written_;
  platform::Subscription subscription_;
  bool is_encrypted_ = false;
  bool is_signed_ = false;
};

bool IsTrue(std::string_view field) {
  return LCase(Trim(field)) == "true";
}

bool ChoseNoEncryption(const ItemData& item) {
  const auto found =
      item.properties.find({std::string(platform::kInternetHeaders), HeaderFieldName(kNoEncrypt)});
  return found != item.properties.end() && IsTrue(found->second);
}

bool AnswersEncrypted(const ItemData& item) {
  return std::ranges::any_of(item.properties, [](const auto& property) {
    return IsReplyField(property.first.second) && IsTrue(property.second);
  });
}

/// Whether the user agreed to send without protection. The branded message box also asks other
/// questions, so its text decides.
bool IsConsent(const ShownBox& box) {
  if (box.name == "frmNoKeysFound") return box.answer == "cmdYes";
  if (box.name != "frmGeneric" || box.answer != "cmdOK") return false;
  return box.text.ends_with("without encryption?") ||
         box.text.ends_with("send the message unencrypted?");
}

bool AgreedToSendInClear(const std::vector<ShownBox>& boxes, std::size_t first) {
  return std::any_of(boxes.begin() + static_cast<std::ptrdiff_t>(first), boxes.end(), IsConsent);
}

/// Outlook would send it, even with the add-in switched off. The desk's users cannot afford that.
void RefuseUnagreedClearText(DeskHost& host, const ItemPtr& sent, const ItemData& item,
                             std::size_t first_box) {
  // Without a window the user has not seen that a reply to an encrypted message is unencrypted.
  const bool was_chosen = ChoseNoEncryption(item) && (sent->Window() || !AnswersEncrypted(item));
  if (was_chosen || AgreedToSendInClear(host.Ui().Boxes(), first_box)) return;
  throw CommandError{Outcome::kRefused,
                     "not sent: it would have left unencrypted; use --no-encrypt to allow that"};
}

/// Stops a message that the add-in sends without an attachment it could not put back.
void RequireAttachments(const ItemData& before, const ItemData& travelling) {
  std::multiset<std::string> missing;
  for (const auto& attachment : before.attachments) missing.insert(attachment->display_name);
  std::ptrdiff_t others = 0;
  for (const auto& attachment : travelling.attachments) {
    const auto found = missing.find(attachment->display_name);
    if (found != missing.end()) {
      missing.erase(found);
    } else if (!attachment->display_name.ends_with(".sig")) {
      ++others;  // renamed
    }
  }
  if (std::ssize(missing) <= others) return;
  throw CommandError{Outcome::kRefused, "not sent: the attachment " + ForDisplay(*missing.begin()) +
                                            " is missing from the outgoing message"};
}

void RequireRecipients(const ItemData& item) {
  const auto has_address = [](const RecipientData& one) { return !one.address.empty(); };
  if (std::ranges::any_of(item.recipients, has_address)) return;
  throw CommandError{Outcome::kRefused, "not sent: no recipients"};
}

mail::Mail WithSender(mail::Mail draft, const Person& owner) {
  if (draft.from.address.empty()) draft.from = {draft.from.name, owner.address};
  return draft;
}

}  // namespace

void AnswerExternalForm(const SendChoices& choices, Answers& answers) {
  if (!choices.external || (!choices.no_encrypt && !choices.no_sign)) return;
  std::vector<std::string> controls;
  if (choices.no_encrypt) controls.emplace_back("chkEncrypt:off");
  if (choices.no_sign) controls.emplace_back("chkSign:off");
  if (!answers.HasAnswers(kExternalForm)) controls.emplace_back("cmdContinue");
  answers.PutFirst(kExternalForm, controls);
}

std::string ProtectionText(const SentMail& sent) {
  if (sent.encrypted) return sent.is_signed ? "encrypted and signed" : "encrypted, not signed";
  return sent.is_signed ? "signed, not encrypted" : "neither encrypted nor signed";
}

std::string BlindCopyText(const SentMail& sent) {
  std::string addresses;
  for (const mail::Mailbox& mailbox : sent.mail.bcc) {
    addresses += (addresses.empty() ? "" : ", ") + mailbox.address;
  }
  if (addresses.empty()) return {};
  return "blind copies to " + addresses +
         ": the mail does not name them; pass them to your mail server";
}

SentMail SendDraft(DeskHost& host, const mail::Mail& draft, const SendChoices& choices,
                   const std::function<void(const mail::Mail&)>& deliver) {
  const ItemPtr item = host.Outlook().AddItem(DraftItem(draft));
  if (!choices.external) {
    const auto window = host.Outlook().Open(item);
    if (!window) {
      throw CommandError{Outcome::kRefused, "not sent: the message was closed while opening"};
    }
    PressChoices(window->Bars(), choices);
  }
  return SendItem(host, item, draft, deliver, choices.no_encrypt);
}

SentMail SendItem(DeskHost& host, const ItemPtr& item, const mail::Mail& base,
                  const std::function<void(const mail::Mail&)>& deliver, bool may_be_clear) {
  RequireRecipients(item->Data());
  const std::size_t first_box = host.BeginOperation();
  SentMail sent;
  const ItemData before = item->Data();
  const ProtectionWatch watch(item);
  host.Outlook().OnDeliver([&](const ItemData& travelling) {
    if (host.IsInterrupted()) throw CommandError{Outcome::kRefused, "not sent: interrupted"};
    sent.encrypted = watch.IsEncrypted();
    sent.is_signed = watch.IsSigned();
    if (!sent.encrypted && !may_be_clear) {
      RefuseUnagreedClearText(host, item, travelling, first_box);
    }
    RequireAttachments(before, travelling);
    sent.mail = MailOf(travelling, WithSender(base, host.Owner()));
    mail::StampMail(sent.mail);
    deliver(sent.mail);
  });
  const bool was_sent = host.Outlook().Send(item).has_value();
  host.Outlook().OnDeliver({});
  if (!was_sent) {
    throw CommandError{Outcome::kRefused,
                       "not sent: cancelled by the add-in; the draft is unchanged"};
  }
  return sent;
}

}  // namespace corvessa::desk
