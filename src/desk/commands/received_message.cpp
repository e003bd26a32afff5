#include "desk/commands/received_message.h"

#include "desk/mail/mail_io.h"
#include "desk/mail_bridge.h"
#include "desk/owner.h"
#include "desk/settings_store.h"

namespace corvessa::desk {

mail::Mail LoadReceived(const CommandContext& context, const std::string& file) {
  mail::Mail mail = mail::LoadMail(file);
  if (mail.incomplete) context.Tell(file + " ends early; this is what is there");
  return mail;
}

InspectorWindowPtr OpenReceived(DeskHost& host, const mail::Mail& mail) {
  host.BeginOperation();
  auto window = host.Outlook().Open(host.Outlook().AddReceived(ReceivedItem(mail)));
  if (!window) Fail(Outcome::kRefused, "the message was closed while it was opened");
  return window;
}

void TellOfUnshownText(const CommandContext& context, const mail::Mail& mail,
                       const ItemData& shown) {
  constexpr std::string_view kBlockEnd = "\n-----END PGP ";
  const std::string& text = mail.body_text;
  const std::size_t end = text.find(kBlockEnd);
  if (end == std::string::npos || shown.body->find(kBlockEnd) != std::string::npos) return;
  const std::size_t behind = text.find('\n', end + kBlockEnd.size());
  if (text.find_first_not_of(" \t\r\n", behind) == std::string::npos) return;
  context.Tell("the mail goes on behind its protected part; open it with --original to see that");
}

ReceivedMessage::ReceivedMessage(CommandContext& context, const MessageOptions& options)
    : mail_(LoadReceived(context, options.file)),
      profile_(context.OpenProfile()),
      host_(profile_, context.terminal, context.answers, context.messages,
            {.owner = OwnerFor(mail_, SettingsStore(profile_.Registry())), .trace = options.trace}),
      window_(OpenReceived(host_, mail_)) {}

}  // namespace corvessa::desk
