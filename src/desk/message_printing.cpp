#include "desk/message_printing.h"

#include <ostream>

#include "base/text.h"
#include "desk/mail_bridge.h"
#include "desk/message_report.h"
#include "message/status_text.h"

namespace corvessa::desk {
namespace {

void PrintField(std::ostream& out, const char* label, const std::string& value) {
  if (!value.empty()) out << label << ForDisplay(value) << "\n";
}

std::string Recipients(const ItemData& item, RecipientKind kind) {
  std::string list;
  for (const RecipientData& recipient : item.recipients) {
    if (recipient.kind != kind) continue;
    list += (list.empty() ? "" : ", ") + Shown({recipient.name, recipient.address});
  }
  return list;
}

/// The faces of Office that the add-in gives to what is so and what is not.
std::string MarkOf(const ButtonLook& look) {
  if (look.face_id == kFaceOn) return "[x] ";
  return look.face_id == kFaceOff ? "[ ] " : "";
}

void PrintAttachment(std::ostream& out, const AttachmentReport& attachment) {
  out << "  " << ForDisplay(attachment.name) << ", " << attachment.size << " bytes";
  if (attachment.protection) {
    out << ": " << attachment.decrypt_text << ", " << attachment.sign_text;
  }
  out << "\n";
  if (!attachment.saved_as.empty()) {
    out << "    saved as " << ForDisplay(attachment.saved_as) << "\n";
  }
}

}  // namespace

void PrintMessage(std::ostream& out, const ItemData& item, const MessageReport& report) {
  PrintField(out, "From:    ", Shown(item.sender));
  PrintField(out, "To:      ", Recipients(item, RecipientKind::kTo));
  PrintField(out, "Cc:      ", Recipients(item, RecipientKind::kCc));
  PrintField(out, "Date:    ", item.received_time);
  PrintField(out, "Subject: ", item.subject);
  for (const std::string& line : report.status_lines) PrintField(out, "Status:  ", line);
  // Above the text, which could be written to look like a list of attachments.
  if (!report.attachments.empty()) out << "Attachments:\n";
  for (const AttachmentReport& attachment : report.attachments) PrintAttachment(out, attachment);
  const std::string text = ForDisplayLines(*item.body);
  out << "\n" << text << (text.ends_with('\n') || text.empty() ? "" : "\n");
}

void PrintBars(std::ostream& out, const Bars& bars) {
  for (const BarPtr& bar : bars.All()) {
    if (!bar->IsTemporary() || !bar->IsVisible()) continue;
    out << ForDisplay(bar->NameText()) << ":";
    const char* separator = " ";
    for (const ButtonPtr& button : bar->Buttons()) {
      const ButtonLook& look = button->Look();
      const std::string caption = MarkOf(look) + ForDisplay(Replace(look.caption, "&", ""));
      out << separator << (look.enabled ? caption : "(" + caption + ")");
      separator = ", ";
    }
    out << "\n";
  }
}

}  // namespace corvessa::desk
