#include "desk/json_report.h"

#include <nlohmann/json.hpp>

#include "desk/message_report.h"

namespace corvessa::desk {
namespace {

using nlohmann::json;

void AddProtection(json& object, const std::optional<Protection>& protection) {
  object["decryptStatus"] = protection ? json(protection->decrypt_status) : json();
  object["signStatus"] = protection ? json(protection->sign_status) : json();
  object["signers"] = protection ? json(protection->signers) : json::array();
}

}  // namespace

void AddMessage(json& report, const MessageReport& message) {
  AddProtection(report, message.protection);
  std::string status;
  for (const std::string& line : message.status_lines) {
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

std::string TextOf(const json& report) {
  // Everything but ASCII is escaped: a terminal obeys some of it, and turns round what follows
  // some.
  return report.dump(-1, ' ', true, json::error_handler_t::replace) + "\n";
}

}  // namespace corvessa::desk
