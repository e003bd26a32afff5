#include "desk/sending.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>

#include "base/text.h"
#include "commands/command_error.h"
#include "commands/key_commands.h"
#include "desk/desk_host.h"
#include "desk/engine_setup.h"
#include "desk/mail/mail_io.h"
#include "desk/mail_bridge.h"
#include "desk/terminal/answers.h"
#include "desk/terminal/terminal.h"

namespace corvessa::desk {
namespace {

constexpr std::string_view kExternalForm = "frmSendFromExternalApplication";
constexpr std::string_view kEncryptOption = "CorvessaPro_OL.EncryptionOption.";
constexpr std::string_view kSignOption = "CorvessaPro_OL.SigningOption.";

void Release(const Bars& bars, std::string_view tag) {
  const auto button = bars.FindTagged(tag);
  if (button && button->Properties().state == platform::kButtonDown) button->Click();
}

void PressChoices(const Bars& bars, const SendChoices& choices) {
  if (choices.no_encrypt) Release(bars, kEncryptOption);
  if (choices.no_sign) Release(bars, kSignOption);
}

bool AnswersEncrypted(const ItemData& item) {
  return std::ranges::any_of(item.properties, [](const auto& property) {
    return IsReplyField(property.first.second) && LCase(Trim(property.second)) == "true";
  });
}

/// Outlook would send it, even with the add-in switched off. The desk's users cannot afford that.
void RefuseUnagreedClearText(const SendFacts& facts, bool options_count) {
  if (MayLeaveInClear(facts, options_count)) return;
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

/// Whether mail to the address is encrypted to another key than the one that was compared.
std::optional<engine::KeyInfo> FindOtherKey(engine::OpenPgpEngine& engine,
                                            const std::string& address,
                                            const Comparison& comparison) {
  std::vector<engine::KeyInfo> keys;
  Check(engine.FindKeys(address, keys), engine);
  if (keys.empty()) return std::nullopt;
  const engine::KeyInfo& key = EncryptionKey(keys);
  if (key.secret || key.fingerprint == comparison.fingerprint) return std::nullopt;
  return key;
}

/// Someone may have slipped in a key of their own under the address of a person whose key the user
/// has compared.
void RequireComparedKeys(DeskHost& host, const std::vector<std::string>& addresses) {
  const KeyNotes notes(host.UsedProfile().KeysFolder());
  std::shared_ptr<engine::OpenPgpEngine> engine;
  for (const std::string& address : addresses) {
    const auto comparison = notes.FindComparison(LCase(address));
    if (!comparison) continue;
    if (!engine) engine = OpenEngine(host.UsedProfile());
    const auto other = FindOtherKey(*engine, address, *comparison);
    if (!other) continue;
    const std::int32_t answer = host.Ui().ShowBox(
        "The key of " + address + " is not the one that you compared on " + comparison->date +
            ". It has the fingerprint " + InGroups(other->fingerprint) +
            ".\nAsk its owner whether that is right.\n\nSend anyway?",
        kProgram, platform::kBoxError | platform::kBoxOkCancel);
    if (answer == platform::kAnswerOk) continue;
    throw CommandError{Outcome::kRefused, "not sent: the key of " + address +
                                              " was not compared; see \"key verify " + address +
                                              "\""};
  }
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

Mark ProtectionMark(const SentMail& sent) {
  return sent.encrypted ? Mark::kGood : Mark::kWarning;
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
  host.BeginOperation();
  SentMail sent;
  const ItemData before = item->Data();
  // Without a window the user has not seen that a reply to an encrypted message is unencrypted.
  const bool options_count = item->Window() || !AnswersEncrypted(before);
  const SendFacts& facts = host.FactsOfSend(item) = {};
  host.Outlook().OnDeliver([&](const ItemData& travelling) {
    if (host.IsInterrupted()) throw CommandError{Outcome::kRefused, "not sent: interrupted"};
    sent.encrypted = !facts.encrypted_for.empty();
    sent.is_signed = !facts.signed_by.empty();
    if (!sent.encrypted && !may_be_clear) RefuseUnagreedClearText(facts, options_count);
    if (!HoldsWhatWasDecided(facts, *travelling.body, *travelling.html)) {
      throw CommandError{Outcome::kRefused, "not sent: its text is not what was to leave"};
    }
    RequireAttachments(before, travelling);
    RequireComparedKeys(host, facts.encrypted_for);
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
