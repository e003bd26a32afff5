#include "desk/commands/received_message.h"

#include <algorithm>

#include "base/html_text.h"
#include "base/text.h"
#include "commands/account_store.h"
#include "desk/mail/mail_io.h"
#include "desk/mail_bridge.h"
#include "desk/message_report.h"

namespace corvessa::desk {
namespace {

void InsertAbove(Item& item, const std::string& text) {
  if (item.Data().html->empty()) {
    item.EditBody(WithCrLf(text) + *item.Data().body);
  } else {
    std::string html = *item.Data().html;
    html.insert(StartOfBody(html), "<DIV>" + TextToHtml(WithCrLf(text)) + "</DIV>\r\n");
    item.EditHTMLBody(html);
  }
}

ItemPtr CreateResponse(OutlookModel& outlook, const ItemPtr& original, Response response) {
  switch (response) {
    case Response::kReplyToAll:
      return outlook.ReplyAll(original);
    case Response::kForward:
      return outlook.Forward(original);
    default:
      return outlook.Reply(original);
  }
}

}  // namespace

std::vector<mail::MailPlace> FindMails(const std::vector<std::string>& paths) {
  std::vector<mail::MailPlace> places;
  for (const std::string& path : paths) {
    for (mail::MailPlace& place : mail::FindMails(system::PathOf(path))) {
      places.push_back(std::move(place));
    }
  }
  return places;
}

mail::MailPlace ChooseMail(const std::vector<mail::MailPlace>& places, std::size_t number) {
  const std::string count = Decimal(static_cast<std::int64_t>(places.size()));
  if (number > places.size()) {
    throw CommandError{Outcome::kWrongUse, "there are only " + count + " mails"};
  }
  if (number == 0 && places.size() != 1) {
    throw CommandError{Outcome::kWrongUse, "there are " + count + " mails; choose with --message"};
  }
  return places[number == 0 ? 0 : number - 1];
}

mail::Mail LoadReceived(const DeskContext& context, const mail::MailPlace& place) {
  mail::Mail mail = mail::LoadMail(place);
  if (mail.incomplete) {
    context.Tell(system::PathText(place.file) + " is truncated or damaged; showing what is there");
  }
  return mail;
}

InspectorWindowPtr OpenReceived(DeskHost& host, const mail::Mail& mail) {
  host.BeginOperation();
  auto window = host.Outlook().Open(host.Outlook().AddReceived(ReceivedItem(mail)));
  if (!window) throw CommandError{Outcome::kRefused, "the message was closed while opening"};
  return window;
}

Person FindOwner(const mail::Mail& received, const AccountStore& accounts) {
  const auto secured = accounts.Accounts();
  for (const auto* list : {&received.to, &received.cc, &received.bcc}) {
    for (const mail::Mailbox& mailbox : *list) {
      const std::string address = LCase(mailbox.address);
      const bool is_own =
          std::ranges::any_of(secured, [&](const auto& entry) { return entry.address == address; });
      if (is_own) return {mailbox.name, mailbox.address};
    }
  }
  return {"", accounts.MainAddress()};
}

void TellOfHiddenText(const DeskContext& context, const MessageReport& report) {
  if (report.shows_part) {
    context.Tell("more text follows the protected part; use --original to see it");
  }
}

ReceivedMessage::ReceivedMessage(DeskContext& context, const mail::MailPlace& place, bool trace)
    : mail_(LoadReceived(context, place)),
      profile_(context.OpenProfile()),
      host_(profile_, context.terminal, context.answers, context.messages,
            {.owner = FindOwner(mail_, AccountStore(profile_.Registry())), .trace = trace}),
      window_(OpenReceived(host_, mail_)) {}

void RefuseToQuote(const MessageReport& report) {
  if (report.left_to_button) {
    throw CommandError{
        Outcome::kRefused,
        "the message was not decrypted because DisableAutoDecryptAndVerify is on; no draft was "
        "made"};
  }
  if (!report.protection) return;
  if (report.protection->DecryptionFailed()) {
    throw CommandError{Outcome::kRefused, "the message could not be decrypted; no draft was made"};
  }
  if (report.protection->sign_status == platform::sign_status::kBad) {
    throw CommandError{Outcome::kRefused,
                       "the message has an invalid signature; no draft was made"};
  }
}

ItemPtr Respond(DeskHost& host, const ItemPtr& original, Response response,
                const std::string& text) {
  ItemPtr item = CreateResponse(host.Outlook(), original, response);
  if (!item) throw CommandError{Outcome::kRefused, "the add-in cancelled the response"};
  if (!text.empty()) InsertAbove(*item, text);
  return item;
}

mail::Mail ToDraftMail(const DeskHost& host, const ItemData& item) {
  mail::Mail base;
  base.from = {host.Owner().name, host.Owner().address};
  if (base.from.name == base.from.address) base.from.name.clear();
  return MailOf(item, std::move(base));
}

}  // namespace corvessa::desk
