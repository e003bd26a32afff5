#include "desk/responding.h"

#include "base/text.h"
#include "desk/desk_host.h"
#include "desk/failure.h"
#include "desk/mail_bridge.h"
#include "desk/message_report.h"
#include "desk/outlook/html_text.h"

namespace corvessa::desk {
namespace {

void WriteAbove(Item& item, const std::string& text) {
  if (item.Data().html->empty()) {
    item.EditBody(WithCrLf(text) + *item.Data().body);
  } else {
    std::string html = *item.Data().html;
    html.insert(StartOfBody(html), "<DIV>" + TextToHtml(WithCrLf(text)) + "</DIV>\r\n");
    item.EditHTMLBody(html);
  }
}

ItemPtr NewItem(OutlookModel& outlook, const ItemPtr& original, Response response) {
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

void RefuseToQuote(const MessageReport& report) {
  if (report.left_to_button) {
    Fail(Outcome::kRefused,
         "the message was not decrypted, because DisableAutoDecryptAndVerify is on; no draft was "
         "made");
  }
  if (!report.protection) return;
  if (report.protection->DecryptionFailed()) {
    Fail(Outcome::kRefused, "the message could not be decrypted; no draft was made");
  }
  if (report.protection->sign_status == sign_status::kBad) {
    Fail(Outcome::kRefused, "the message has an invalid signature; no draft was made");
  }
}

ItemPtr Respond(DeskHost& host, const ItemPtr& original, Response response,
                const std::string& text) {
  const ItemPtr item = NewItem(host.Outlook(), original, response);
  if (!item) Fail(Outcome::kRefused, "the add-in does not allow that response");
  if (!text.empty()) WriteAbove(*item, text);
  return item;
}

mail::Mail DraftOf(const DeskHost& host, const ItemData& item) {
  mail::Mail base;
  base.from = {host.Owner().name, host.Owner().address};
  if (base.from.name == base.from.address) base.from.name.clear();
  return MailOf(item, std::move(base));
}

}  // namespace corvessa::desk
