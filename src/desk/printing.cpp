#include "desk/printing.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "base/text.h"
#include "commands/columns.h"
#include "commands/command_context.h"
#include "desk/mail_bridge.h"
#include "desk/message_report.h"
#include "message/attachment_node.h"
#include "message/remarks.h"

namespace corvessa::desk {
namespace {

std::string RecipientList(const ItemData& item, RecipientKind kind) {
  std::string list;
  for (const RecipientData& recipient : item.recipients) {
    if (recipient.kind != kind) continue;
    list += (list.empty() ? "" : ", ") + FieldText(Shown({recipient.name, recipient.address}));
  }
  return list;
}

/// The add-in marks what is true and what is not with two Office faces.
std::string StateMark(const ButtonProperties& look) {
  if (look.face_id == kFaceOn) return "[x] ";
  return look.face_id == kFaceOff ? "[ ] " : "";
}

/// The name is quoted, and holds no quotation mark, so that it cannot pretend to end.
std::string DescribeAttachment(const AttachmentReport& attachment) {
  const std::string name = Replace(FieldText(attachment.name), "\"", "'");
  const std::string status =
      attachment.protection ? StatusText(*attachment.protection) : "not checked";
  return "\"" + name + "\", " + std::to_string(attachment.size) + " bytes: " + status;
}

Mark DecryptMark(const platform::Protection& protection) {
  if (protection.DecryptionFailed()) return Mark::kBad;
  return protection.decrypt_status == platform::decrypt_status::kDone ? Mark::kGood
                                                                      : Mark::kNeutral;
}

Mark SignMark(const platform::Protection& protection) {
  if (protection.SignatureFailed()) return Mark::kBad;
  return protection.sign_status == platform::sign_status::kGood ? Mark::kGood : Mark::kNeutral;
}

Mark AttachmentMark(const AttachmentReport& attachment) {
  if (!attachment.protection) return Mark::kNeutral;
  if (attachment.protection->Failed()) return Mark::kBad;
  const bool is_protected = DecryptMark(*attachment.protection) == Mark::kGood ||
                            SignMark(*attachment.protection) == Mark::kGood;
  return is_protected ? Mark::kGood : Mark::kNeutral;
}

using nlohmann::json;

void AddProtection(json& object, const std::optional<platform::Protection>& protection) {
  object["decryptStatus"] = protection ? json(protection->decrypt_status) : json();
  object["signStatus"] = protection ? json(protection->sign_status) : json();
  object["signers"] = protection ? json(protection->signers) : json::array();
  const bool has_reason = protection && !protection->reason.empty();
  object["reason"] = has_reason ? json(protection->reason) : json();
  const bool has_code = protection && !protection->reason_code.empty();
  object["reasonCode"] = has_code ? json(protection->reason_code) : json();
  const bool has_key = protection && !protection->unknown_signers.empty();
  object["signerKeyID"] = has_key ? json(protection->unknown_signers.front()) : json();
}

json PersonJson(const std::string& name, const std::string& address) {
  return {{"name", name == address ? "" : name}, {"address", address}};
}

json RecipientsJson(const ItemData& item, RecipientKind kind) {
  json people = json::array();
  for (const RecipientData& recipient : item.recipients) {
    if (recipient.kind == kind) people.push_back(PersonJson(recipient.name, recipient.address));
  }
  return people;
}

/// Continued lines are indented further than any line of the program begins.
void PrintAttachment(const CommandContext& context, const AttachmentReport& attachment) {
  constexpr std::size_t kIndent = 6;
  const std::string line = context.style.Marked(AttachmentMark(attachment), "");
  PrintField(context.out, "  " + line, DescribeAttachment(attachment), context.OutputColumns(),
             kIndent);
}

}  // namespace

void PrintMessage(const CommandContext& context, const ItemData& item,
                  const MessageReport& report) {
  std::ostream& out = context.out;
  const int columns = context.OutputColumns();
  const auto print_status = [&](std::string_view label, Mark mark, const std::string& text) {
    context.style.PrintField(out, label, mark, ForDisplay(text), columns);
  };
  const auto print = [&](std::string_view label, const std::string& text) {
    if (!text.empty()) PrintField(out, label, text, columns, label.size());
  };
  // Above everything that the sender chose.
  if (const std::vector<std::string> lines = StatusLines(report); !lines.empty()) {
    print_status("Status:  ", DecryptMark(*report.protection), lines.front());
    print_status("Status:  ", SignMark(*report.protection), lines.back());
  }
  for (const std::string& remark : RemarksOn(report.facts)) {
    print_status("         ", Mark::kWarning, remark);
  }
  print("From:    ", FieldText(Shown(item.sender)));
  print("To:      ", RecipientList(item, RecipientKind::kTo));
  print("Cc:      ", RecipientList(item, RecipientKind::kCc));
  print("Date:    ", item.received_time);
  print("Subject: ", FieldText(item.subject));
  if (!report.attachments.empty()) out << "Attachments:\n";
  for (const AttachmentReport& attachment : report.attachments) {
    PrintAttachment(context, attachment);
    print("    saved as ", ForDisplay(attachment.saved_as));
  }
  const std::string text = ForDisplayLines(*item.body);
  out << "\n" << text << (text.ends_with('\n') || text.empty() ? "" : "\n");
}

void PrintBars(const CommandContext& context, const Bars& bars) {
  for (const BarPtr& bar : bars.All()) {
    if (!bar->IsTemporary() || !bar->IsVisible()) continue;
    std::string text;
    for (const ButtonPtr& button : bar->Buttons()) {
      const ButtonProperties& look = button->Properties();
      const std::string caption = StateMark(look) + ForDisplay(Replace(look.caption, "&", ""));
      text += (text.empty() ? "" : ", ") + (look.enabled ? caption : "(" + caption + ")");
    }
    const std::string label = ForDisplay(bar->NameText()) + (text.empty() ? ":" : ": ");
    PrintField(context.out, label, text, context.OutputColumns(), label.size());
  }
}

void AddMessage(json& report, const MessageReport& message) {
  AddProtection(report, message.protection);
  std::string status;
  for (const std::string& line : StatusLines(message)) {
    status += (status.empty() ? "" : "; ") + line;
  }
  report["statusText"] = status;
  report["attachments"] = json::array();
  for (const AttachmentReport& attachment : message.attachments) {
    json entry{{"name", attachment.name}, {"size", attachment.size}};
    AddProtection(entry, attachment.protection);
    entry["savedAs"] = attachment.saved_as.empty() ? json() : json(attachment.saved_as);
    report["attachments"].push_back(std::move(entry));
  }
}

void AddHeader(json& report, const ItemData& item) {
  report["from"] = PersonJson(item.sender.name, item.sender.address);
  report["to"] = RecipientsJson(item, RecipientKind::kTo);
  report["cc"] = RecipientsJson(item, RecipientKind::kCc);
  report["date"] = item.received_time.empty() ? json() : json(item.received_time);
  report["subject"] = item.subject;
}

void AddRemarks(json& report, const MessageReport& message) {
  const platform::MessageFacts& facts = message.facts;
  report["remarks"] = RemarksOn(facts);
  report["subjectProtected"] = facts.subject_protected;
  report["marksUnprotected"] = facts.marks_unprotected;
  report["partSigners"] = facts.part_signers;
  const bool is_signed =
      message.protection && message.protection->sign_status == platform::sign_status::kGood;
  report["signerIsSender"] = is_signed ? json(facts.unsigned_sender.empty()) : json();
  report["notRead"] = json::array();
  for (const platform::UnreadPart& part : facts.not_read) {
    report["notRead"].push_back({{"name", part.name}, {"reason", part.reason}});
  }
}

void AddBars(json& report, const Bars& bars) {
  report["bars"] = json::array();
  for (const BarPtr& bar : bars.All()) {
    if (!bar->IsTemporary() || !bar->IsVisible()) continue;
    json buttons = json::array();
    for (const ButtonPtr& button : bar->Buttons()) {
      const ButtonProperties& look = button->Properties();
      buttons.push_back({{"caption", look.caption},
                         {"tooltip", look.tooltip},
                         {"pressed", look.state == platform::kButtonDown},
                         {"enabled", look.enabled}});
    }
    report["bars"].push_back({{"name", bar->NameText()}, {"buttons", std::move(buttons)}});
  }
}

void AddBoxes(json& report, std::span<const ShownBox> boxes) {
  report["boxes"] = json::array();
  for (const ShownBox& box : boxes) {
    report["boxes"].push_back(
        {{"name", box.name}, {"caption", box.caption}, {"text", box.text}, {"answer", box.answer}});
  }
}

}  // namespace corvessa::desk
