#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>

#include "base/text.h"
#include "commands/account_store.h"
#include "desk/commands/command.h"
#include "desk/commands/received_message.h"
#include "desk/delivery.h"
#include "desk/desk_host.h"
#include "desk/mail/mail_io.h"
#include "desk/printing.h"
#include "desk/sending.h"

namespace corvessa::desk {
namespace {

struct SendOptions {
  MessageOptions message;
  std::string out_file;
  std::string sent_folder;
  bool deliver = false;
  SendChoices choices;
  int outlook = 9;
};

/// The author of the draft, else the owner of the profile. Throws CommandError without either.
Person FindSender(const mail::Mail& draft, const AccountStore& accounts) {
  if (!draft.from.address.empty()) return {draft.from.name, draft.from.address};
  const std::string owner = accounts.MainAddress();
  if (owner.empty()) {
    throw CommandError{Outcome::kWrongUse, "the draft has no From line, and no address is secured"};
  }
  return {draft.from.name, owner};
}

nlohmann::json ListAddresses(const mail::Mail& mail) {
  auto addresses = nlohmann::json::array();
  for (const auto* list : {&mail.to, &mail.cc, &mail.bcc}) {
    for (const mail::Mailbox& mailbox : *list) addresses.push_back(mailbox.address);
  }
  return addresses;
}

void PrintJson(DeskContext& context, DeskHost& host, const SendOptions& options,
               const SentMail& sent) {
  nlohmann::json json;
  json["sent"] = true;
  json["resultCode"] = static_cast<int>(Outcome::kDone);
  json["encrypted"] = sent.encrypted;
  json["signed"] = sent.is_signed;
  json["recipients"] = ListAddresses(sent.mail);
  json["delivered"] = options.deliver;
  if (options.out_file.empty() && !options.deliver) {
    json["message"] = mail::FormatMail(sent.mail, mail::MailPurpose::kTravel);
  } else if (!options.out_file.empty()) {
    json["file"] = options.out_file;
  }
  AddBoxes(json, host.Ui().Boxes());
  context.WriteJson(json);
}

void Print(DeskContext& context, const SendOptions& options, const SentMail& sent) {
  if (options.deliver) {
    context.out << context.style.Marked(ProtectionMark(sent), "Delivered " + ProtectionText(sent))
                << "\n";
    return;
  }
  if (const std::string text = BlindCopyText(sent); !text.empty()) context.Tell(text);
  if (options.out_file.empty()) return;
  context.out << context.style.Marked(ProtectionMark(sent), "Sent " + ProtectionText(sent)) << ": "
              << ForDisplay(options.out_file) << "\n";
}

void HandOver(DeskContext& context, Profile& profile, const SendOptions& options,
              const mail::Mail& mail) {
  if (options.deliver) {
    DeliverMail(profile, mail);
  } else if (!options.out_file.empty()) {
    mail::WriteMail(mail, options.out_file, mail::MailPurpose::kTravel);
  } else if (!context.json) {
    context.out << mail::FormatMail(mail, mail::MailPurpose::kTravel) << std::flush;
    if (!context.out) {
      throw CommandError{Outcome::kEnvironment, "cannot write the output; not sent"};
    }
  }
}

Outcome Send(DeskContext& context, const SendOptions& options) {
  const mail::Mail draft = mail::LoadMail(options.message.file);
  if (draft.incomplete) {
    throw CommandError{Outcome::kEnvironment,
                       options.message.file + " is truncated or damaged; not sent"};
  }
  RefuseToReplace(options.out_file, {options.message.file});
  Profile profile = context.OpenProfile();
  const Person sender = FindSender(draft, AccountStore(profile.Registry()));
  AnswerExternalForm(options.choices, context.answers);
  DeskHost host(
      profile, context.terminal, context.answers, context.messages,
      {.outlook_version = options.outlook, .owner = sender, .trace = options.message.trace});
  const auto send = [&] {
    const SentMail sent = SendDraft(host, draft, options.choices, [&](const mail::Mail& mail) {
      HandOver(context, profile, options, mail);
    });
    if (!options.sent_folder.empty()) KeepCopy(sent.mail, options.sent_folder);
    if (context.json) {
      PrintJson(context, host, options, sent);
    } else {
      Print(context, options, sent);
    }
    return Outcome::kDone;
  };
  return ReportingErrors(context, host, send,
                         {{"sent", false},
                          {"encrypted", false},
                          {"signed", false},
                          {"recipients", nlohmann::json::array()}});
}

}  // namespace

void AddSendCommand(CLI::App& app, DeskContext& context) {
  const auto options = std::make_shared<SendOptions>();
  auto* const send = app.add_subcommand("send", "compose a draft in a window and send it");
  AddFileOption(*send, options->message);
  AddTraceOption(*send, options->message);
  send->add_option("--out", options->out_file,
                   "write the sent message to this file instead of standard output")
      ->type_name("FILE")
      ->excludes(send->add_flag("--deliver", options->deliver,
                                "hand the sent message to the system's sendmail or the command in "
                                "the setting DeliveryCommand"));
  send->add_option("--sent", options->sent_folder,
                   "keep a copy of the sent message in this folder or Maildir")
      ->type_name("FOLDER");
  send->add_flag("--no-encrypt", options->choices.no_encrypt,
                 "do not encrypt: release \"Encrypt on send\"");
  send->add_flag("--no-sign", options->choices.no_sign, "do not sign: release \"Sign on send\"");
  send->add_flag("--external", options->choices.external,
                 "send without a window, as another program does");
  AddOutlookOption(*send, options->outlook);
  OnRun(*send, context, [&context, options] { return Send(context, *options); });
}

}  // namespace corvessa::desk
