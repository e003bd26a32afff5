#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>

#include "base/error.h"
#include "base/guard.h"
#include "base/text.h"
#include "commands/columns.h"
#include "desk/commands/command.h"
#include "desk/commands/received_message.h"
#include "desk/mail/mailbox.h"
#include "desk/profile/system_services.h"
#include "message/message_operations.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

constexpr int kStatusColumns = 10;
constexpr std::string_view kDamaged = "damaged";

/// How a mail is protected as far as it can be seen from outside. Nothing is decrypted, and a
/// signature may be bad.
std::string_view ProtectionOf(const mail::Mail& mail) {
  if (IsPGPMessage(mail.body_text)) return "encrypted";
  if (IsPGPSignedMessage(mail.body_text)) return "signed";
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kTypes{
      {{"application/pgp-encrypted", "encrypted"},
       {"application/pgp-signature", "signed"},
       {"application/pkcs7-mime", "S/MIME"},
       {"application/x-pkcs7-mime", "S/MIME"},
       {"application/pkcs7-signature", "S/MIME"}}};
  for (const mail::Attachment& attachment : mail.attachments) {
    for (const auto& [type, protection] : kTypes) {
      if (attachment.content_type == type) return protection;
    }
  }
  return "plain";
}

/// For a person in the locale's order, for a script always in this one.
std::string DateText(const CommandContext& context, const mail::Mail& mail) {
  if (!mail.date) return {};
  if (context.style.local_date) return ShortDateTimeText(*mail.date);
  std::tm fields{};
  char text[64];
  if (!localtime_r(&*mail.date, &fields)) return {};
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &fields)};
}

std::string MarkedStatus(const CommandContext& context, std::string_view status) {
  const bool is_marked = status == kDamaged && context.style.has_signs;
  const int columns = kStatusColumns - (is_marked ? kSignColumns : 0);
  return context.style.Marked(is_marked ? Mark::kBad : Mark::kNone,
                              PadToColumns(std::string(status), columns));
}

void PrintLine(const CommandContext& context, std::size_t number, std::string_view status,
               const mail::Mail& mail) {
  const std::string author = mail.from.name.empty() ? mail.from.address : mail.from.name;
  std::string line =
      PadToColumns(Decimal(static_cast<std::int64_t>(number)), 5) + " " +
      MarkedStatus(context, status) + " " + PadToColumns(DateText(context, mail), 16) + "  " +
      PadToColumns(CutToColumns(FieldText(author), 24), 24) + "  " + FieldText(mail.subject);
  const int columns = context.OutputColumns();
  if (columns != kUnlimitedColumns) line = CutToColumns(line, columns);
  context.out << line << "\n";
}

nlohmann::json Describe(const mail::MailPlace& place, std::size_t number) {
  return {{"number", number}, {"file", system::PathText(place.file)}};
}

void WriteObject(DeskContext& context, const mail::MailPlace& place, std::size_t number,
                 std::string_view status, const mail::Mail& mail) {
  nlohmann::json json = Describe(place, number);
  json["status"] = status;
  json["from"] = {{"name", mail.from.name}, {"address", mail.from.address}};
  json["subject"] = mail.subject;
  json["date"] = mail.date ? nlohmann::json(*mail.date) : nlohmann::json();
  context.ListJson(json);
}

/// One mail that cannot be read does not hide the others.
bool ListMail(DeskContext& context, const mail::MailPlace& place, std::size_t number) {
  mail::Mail mail;
  const Error error = Attempt([&] { mail = mail::LoadMail(place); });
  if (error.number == 0) {
    const std::string_view status = mail.incomplete ? kDamaged : ProtectionOf(mail);
    if (context.json) {
      WriteObject(context, place, number, status, mail);
    } else {
      PrintLine(context, number, status, mail);
    }
    return true;
  }
  context.Tell(WithoutFullStop(error.description));
  if (context.json) {
    nlohmann::json json = Describe(place, number);
    json["error"] = WithoutFullStop(error.description);
    context.ListJson(json);
  }
  return false;
}

}  // namespace

Outcome ListMails(DeskContext& context, const std::vector<mail::MailPlace>& places) {
  Outcome outcome = Outcome::kDone;
  for (std::size_t i = 0; i < places.size(); ++i) {
    context.RequireOutput();
    if (!ListMail(context, places[i], i + 1)) outcome = Outcome::kEnvironment;
  }
  return outcome;
}

void AddListCommand(CLI::App& app, DeskContext& context) {
  const auto paths = std::make_shared<std::vector<std::string>>();
  auto* const list = app.add_subcommand(
      "list", "list mails and how they are protected, without decrypting or verifying");
  list->add_option("path", *paths, "mail files, mbox files, Maildirs or folders of mail files")
      ->required()
      ->type_name("PATH");
  OnRun(*list, context, [&context, paths] { return ListMails(context, FindMails(*paths)); });
}

}  // namespace corvessa::desk
