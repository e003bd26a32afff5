#include "desk/commands/received_message.h"

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

bool HasUnshownText(const Item& item) {
  const ItemData* const came = item.Stored();
  return came != nullptr && *came->body != *item.Data().body && HoldsMoreThanArmour(*came->body);
}

void TellOfUnshownText(const CommandContext& context, const Item& item) {
  if (!HasUnshownText(item)) return;
  context.Tell("the mail goes on behind its protected part; open it with --original to see that");
}

ReceivedMessage::ReceivedMessage(CommandContext& context, const MessageOptions& options)
    : mail_(LoadReceived(context, options.file)),
      profile_(context.OpenProfile()),
      host_(profile_, context.terminal, context.answers, context.messages,
            {.owner = OwnerFor(mail_, SettingsStore(profile_.Registry())), .trace = options.trace}),
      window_(OpenReceived(host_, mail_)) {}

}  // namespace corvessa::desk
