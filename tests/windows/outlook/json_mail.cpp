#include "windows/outlook/json_mail.h"

#include <fstream>
#include <sstream>

#include "win32/utf16.h"

namespace corvessa::testing {
namespace {

constexpr std::pair<const char*, desk::RecipientKind> kKinds[] = {
    {"to", desk::RecipientKind::kTo},
    {"cc", desk::RecipientKind::kCc},
    {"bcc", desk::RecipientKind::kBcc}};

std::filesystem::path PathOf(const std::string& text) {
  return {win32::ShownUtf16(text)};
}

}  // namespace

std::string String(const Json& from, const char* key) {
  return from.value(key, std::string());
}

std::vector<desk::RecipientData> RecipientsOf(const Json& mail) {
  std::vector<desk::RecipientData> recipients;
  for (const auto& [key, kind] : kKinds) {
    for (const Json& one : mail.value(key, Json::array())) {
      recipients.push_back({kind, String(one, "name"), String(one, "address"), String(one, "id")});
      if (one.contains("entry")) recipients.back().entry_address = String(one, "entry");
    }
  }
  return recipients;
}

desk::ItemData ItemDataOf(const Json& mail, desk::OutlookModel& model) {
  desk::ItemData data;
  data.recipients = RecipientsOf(mail);
  if (mail.contains("from")) {
    data.sender = {String(mail["from"], "name"), String(mail["from"], "address")};
  }
  data.subject = String(mail, "subject");
  data.body = std::make_shared<const std::string>(String(mail, "body"));
  data.html = std::make_shared<const std::string>(String(mail, "html"));
  data.received_time = String(mail, "received");
  const Json fields = mail.value("fields", Json::object());
  for (const auto& [name, value] : fields.items()) {
    data.properties[{"{00020386-0000-0000-C000-000000000046}", name}] = value;
  }
  for (const Json& one : mail.value("attachments", Json::array())) {
    std::ifstream file(PathOf(String(one, "path")), std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    desk::AttachmentData attachment{String(one, "name"), String(one, "name"),
                                    model.Keep(bytes.str())};
    data.attachments.push_back(std::make_shared<const desk::AttachmentData>(attachment));
  }
  return data;
}

Json MailOf(const desk::ItemData& data, const std::string& folder) {
  Json mail = {{"from", {{"name", data.sender.name}, {"address", data.sender.address}}},
               {"subject", data.subject},
               {"body", *data.body},
               {"html", *data.html},
               {"fields", Json::object()},
               {"attachments", Json::array()}};
  for (const auto& [key, kind] : kKinds) {
    mail[key] = Json::array();
    for (const auto& one : data.recipients) {
      if (one.kind == kind) mail[key].push_back({{"name", one.name}, {"address", one.address}});
    }
  }
  for (const auto& [name, value] : desk::HeaderLines(data)) mail["fields"][name] = value;
  for (const auto& one : data.attachments) {
    const std::string path =
        folder + "\\" + std::to_string(mail["attachments"].size()) + ".attachment";
    if (!folder.empty()) one->content->WriteTo(PathOf(path));
    mail["attachments"].push_back(
        {{"name", one->display_name}, {"size", one->content ? one->content->Size() : 0}});
  }
  return mail;
}

Json BarsOf(const desk::Bars& bars) {
  Json all = Json::array();
  for (const auto& bar : bars.All()) {
    if (!bar->IsTemporary()) continue;
    Json buttons = Json::array();
    for (const auto& button : bar->Buttons()) {
      const auto& shown = button->Properties();
      buttons.push_back({{"caption", shown.caption},
                         // Office shows the caption of a button without one.
                         {"tooltip", shown.tooltip.empty() ? shown.caption : shown.tooltip},
                         {"state", shown.state},
                         {"enabled", shown.enabled}});
    }
    all.push_back({{"name", bar->NameText()}, {"buttons", buttons}});
  }
  return all;
}

}  // namespace corvessa::testing
