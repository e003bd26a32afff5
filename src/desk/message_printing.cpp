#include "desk/message_printing.h"

#include <ostream>

#include "base/text.h"
#include "desk/field_printing.h"
#include "desk/mail_bridge.h"
#include "desk/message_report.h"
#include "message/status_text.h"

namespace corvessa::desk {
namespace {

std::string Recipients(const ItemData& item, RecipientKind kind) {
  std::string list;
  for (const RecipientData& recipient : item.recipients) {
    if (recipient.kind != kind) continue;
    list += (list.empty() ? "" : ", ") + FieldText(Shown({recipient.name, recipient.address}));
  }
  return list;
}

/// The faces of Office that the add-in gives to what is so and what is not.
std::string MarkOf(const ButtonProperties& look) {
  if (look.face_id == kFaceOn) return "[x] ";
  return look.face_id == kFaceOff ? "[ ] " : "";
}

/// The name stands in marks that it cannot hold itself.
std::string DescriptionOf(const AttachmentReport& attachment) {
  const std::string name = Replace(FieldText(attachment.name), "\"", "'");
  const std::string status =
      attachment.protection ? attachment.decrypt_text + ", " + attachment.sign_text : "not checked";
  return "\"" + name + "\", " + std::to_string(attachment.size) + " bytes: " + status;
}

}  // namespace

void PrintMessage(std::ostream& out, const ItemData& item, const MessageReport& report,
                  int columns) {
  const auto print = [&](std::string_view label, const std::string& text) {
    if (!text.empty()) PrintField(out, label, text, columns, label.size());
  };
  // Above all that the sender has chosen.
  for (const std::string& line : report.status_lines) print("Status:  ", ForDisplay(line));
  print("From:    ", FieldText(Shown(item.sender)));
  print("To:      ", Recipients(item, RecipientKind::kTo));
  print("Cc:      ", Recipients(item, RecipientKind::kCc));
  print("Date:    ", item.received_time);
  print("Subject: ", FieldText(item.subject));
  if (!report.attachments.empty()) out << "Attachments:\n";
  for (const AttachmentReport& attachment : report.attachments) {
    PrintField(out, "  ", DescriptionOf(attachment), columns, 6);
    print("    saved as ", ForDisplay(attachment.saved_as));
  }
  const std::string text = ForDisplayLines(*item.body);
  out << "\n" << text << (text.ends_with('\n') || text.empty() ? "" : "\n");
}

void PrintBars(std::ostream& out, const Bars& bars) {
  for (const BarPtr& bar : bars.All()) {
    if (!bar->IsTemporary() || !bar->IsVisible()) continue;
    out << ForDisplay(bar->NameText()) << ":";
    const char* separator = " ";
    for (const ButtonPtr& button : bar->Buttons()) {
      const ButtonProperties& look = button->Properties();
      const std::string caption = MarkOf(look) + ForDisplay(Replace(look.caption, "&", ""));
      out << separator << (look.enabled ? caption : "(" + caption + ")");
      separator = ", ";
    }
    out << "\n";
  }
}

}  // namespace corvessa::desk
