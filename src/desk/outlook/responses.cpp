#include <algorithm>
#include <memory>
#include <unordered_set>
#include <utility>

#include "base/html_text.h"
#include "base/text.h"
#include "desk/outlook/item_data.h"

namespace corvessa::desk {
namespace {

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// MAPI's rule: a prefix is one to three letters, a colon and a blank.
std::string_view WithoutPrefix(std::string_view subject) {
  const auto colon = subject.find(": ");
  if (colon == 0 || colon == std::string_view::npos || colon > 3) return subject;
  if (!std::all_of(subject.begin(), subject.begin() + static_cast<std::ptrdiff_t>(colon),
                   IsLetter)) {
    return subject;
  }
  return subject.substr(colon + 2);
}

std::string SenderLine(const Person& sender) {
  if (sender.name.empty() || sender.name == sender.address) return sender.address;
  return sender.address.empty() ? sender.name : sender.name + " [mailto:" + sender.address + "]";
}

/// The names and texts of the lines above a quoted message.
std::vector<std::pair<std::string, std::string>> QuotedHeader(const ItemData& original) {
  std::vector<std::pair<std::string, std::string>> lines;
  const auto add = [&](std::string name, std::string text) {
    if (!text.empty()) lines.emplace_back(std::move(name), std::move(text));
  };
  add("From:", SenderLine(original.sender));
  add("Sent:", original.received_time);
  add("To:", NamesOf(original, RecipientKind::kTo));
  add("Cc:", NamesOf(original, RecipientKind::kCc));
  lines.emplace_back("Subject:", original.subject);
  return lines;
}

std::string QuotedText(const ItemData& original) {
  std::string text = "\r\n\r\n-----Original Message-----\r\n";
  for (const auto& [name, value] : QuotedHeader(original)) text += name + " " + value + "\r\n";
  return text + "\r\n" + *original.body;
}

std::string QuotedHtml(const ItemData& original) {
  std::string quote = "<P>&nbsp;</P>\r\n<DIV>-----Original Message-----<BR>\r\n";
  for (const auto& [name, value] : QuotedHeader(original)) {
    quote += "<B>" + name + "</B> " + TextToHtml(value) + "<BR>\r\n";
  }
  quote += "</DIV>\r\n<BR>\r\n";
  std::string html = *original.html;
  return html.insert(StartOfBody(html), quote);
}

ItemData Respond(const ItemData& original, std::string_view prefix) {
  ItemData response;
  response.folder = kDrafts;
  response.subject = std::string(prefix) + std::string(WithoutPrefix(original.subject));
  if (original.html->empty()) {
    response.body = std::make_shared<const std::string>(QuotedText(original));
  } else {
    response.html = std::make_shared<const std::string>(QuotedHtml(original));
    response.body = std::make_shared<const std::string>(HtmlToText(*response.html));
  }
  response.in_reply_to = original.message_id;
  response.references = original.references;
  if (!response.references.empty() && !original.message_id.empty()) response.references += ' ';
  response.references += original.message_id;
  return response;
}

/// Adds each recipient once. The address decides, not the name.
class RecipientAdder {
 public:
  explicit RecipientAdder(std::vector<RecipientData>& recipients) : recipients_(recipients) {}

  void Add(RecipientData recipient) {
    const bool is_new = recipient.address.empty()
                            ? names_.insert(recipient.name).second
                            : addresses_.insert(LCase(recipient.address)).second;
    if (is_new) recipients_.push_back(std::move(recipient));
  }

 private:
  std::vector<RecipientData>& recipients_;
  std::unordered_set<std::string> addresses_;
  /// Recipients without an address.
  std::unordered_set<std::string> names_;
};

}  // namespace

ItemData MakeReply(const ItemData& original, const Person& owner, bool to_all) {
  ItemData reply = Respond(original, "RE: ");
  auto senders = original.reply_to;
  if (senders.empty()) senders.push_back(original.sender);
  RecipientAdder recipients(reply.recipients);
  for (const auto& [name, address] : senders) {
    recipients.Add({RecipientKind::kTo, ShownName(name, address), address});
  }
  if (!to_all) return reply;
  for (const auto kind : {RecipientKind::kTo, RecipientKind::kCc}) {
    for (const auto& recipient : original.recipients) {
      const bool own = !owner.address.empty() && LCase(recipient.address) == LCase(owner.address);
      if (recipient.kind == kind && !own) recipients.Add(recipient);
    }
  }
  return reply;
}

ItemData MakeForward(const ItemData& original) {
  ItemData forward = Respond(original, "FW: ");
  forward.attachments = original.attachments;
  return forward;
}

}  // namespace corvessa::desk
