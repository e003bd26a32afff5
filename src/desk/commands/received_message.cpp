#include "desk/commands/received_message.h"

#include "base/text.h"
#include "desk/mail/mail_io.h"
#include "desk/mail_bridge.h"
#include "desk/owner.h"
#include "desk/settings_store.h"
#include "message/armour.h"

namespace corvessa::desk {

mail::Mail LoadReceived(const CommandContext& context, const std::string& file) {
  mail::Mail mail = mail::LoadMail(file);
  if (mail.incomplete) context.Tell(file + " ends early or is damaged; this is what is there");
  return mail;
}

InspectorWindowPtr OpenReceived(DeskHost& host, const mail::Mail& mail) {
  host.BeginOperation();
  auto window = host.Outlook().Open(host.Outlook().AddReceived(ReceivedItem(mail)));
  if (!window) Fail(Outcome::kRefused, "the message was closed while it was opened");
  return window;
}

namespace {

/// The add-in looks at the beginning of a text only.
bool HasLaterBlock(std::string_view text) {
  for (const std::string_view marker :
       {"\n-----BEGIN PGP MESSAGE-----", "\n-----BEGIN PGP SIGNED MESSAGE-----"}) {
    const std::size_t at = text.find(marker);
    if (at != std::string_view::npos && text.find_first_not_of(" \t\r\n") < at) return true;
  }
  return false;
}

void TellOfPgpMime(const CommandContext& context,
                   const std::vector<AttachmentDataPtr>& attachments) {
  for (std::size_t i = 0; i < attachments.size(); ++i) {
    const std::string& type = attachments[i]->content_type;
    if (type == "application/pgp-encrypted" && i + 1 < attachments.size()) {
      context.Tell("this is a PGP/MIME mail, which the add-in does not read; save " +
                   ForDisplay(attachments[i + 1]->display_name) + " and decrypt it with gpg");
    } else if (type == "application/pgp-signature" &&
               !attachments[i]->display_name.ends_with(".sig")) {
      context.Tell("this is a PGP/MIME mail, whose signature the add-in does not check");
    }
  }
}

}  // namespace

bool HasUnshownText(const Item& item) {
  const ItemData* const came = item.Stored();
  return came != nullptr && *came->body != *item.Data().body && HoldsMoreThanArmour(*came->body);
}

void TellOfUnreadParts(const CommandContext& context, const Item& item) {
  if (HasUnshownText(item)) {
    context.Tell("the mail goes on behind its protected part; open it with --original to see that");
  }
  if (HasLaterBlock(*item.Data().body)) {
    context.Tell(
        "there is a protected part below other text, which the add-in does not read; it "
        "reads a mail that begins with one");
  }
  TellOfPgpMime(context, item.Data().attachments);
}

ReceivedMessage::ReceivedMessage(CommandContext& context, const MessageOptions& options)
    : mail_(LoadReceived(context, options.file)),
      profile_(context.OpenProfile()),
      host_(profile_, context.terminal, context.answers, context.messages,
            {.owner = OwnerFor(mail_, SettingsStore(profile_.Registry())), .trace = options.trace}),
      window_(OpenReceived(host_, mail_)) {}

}  // namespace corvessa::desk
