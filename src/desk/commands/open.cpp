#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>

#include "base/error.h"
#include "base/text.h"
#include "desk/attachment_saving.h"
#include "desk/commands/command.h"
#include "desk/commands/received_message.h"
#include "desk/message_report.h"
#include "desk/printing.h"
#include "message/message_operations.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

struct OpenOptions {
  MessageOptions message;
  std::vector<std::string> files;
  std::string save_folder;
  bool original = false;
};

/// What was read from the message while it was open.
struct OpenResult {
  MessageReport report;
  std::optional<std::string> original;
  SavingResult saving;
};

OpenResult ReadOpenMessage(DeskHost& host, const InspectorWindowPtr& window,
                           const OpenOptions& options) {
  OpenResult opened;
  opened.report = ReadMessage(host, window->ShownItem());
  if (opened.report.left_to_button) {
    opened.saving.Complain(
        "not decrypted because DisableAutoDecryptAndVerify is on; the shell can click "
        "\"Decrypt/verify\"",
        Outcome::kRefused);
    return opened;
  }
  const std::string& text = *window->ShownItem()->Data().body;
  if (!opened.report.protection && (IsPGPMessage(text) || IsPGPSignedMessage(text))) {
    opened.saving.Complain(
        "neither decrypted nor verified: the add-in is switched off or refuses this mail mode; see "
        "DisableKVPEntirely, DisableInternetMode, DisableCorporateOrWorkgroupMode",
        Outcome::kRefused);
    return opened;
  }
  if (options.original) opened.original = OriginalText(*window->ShownItem());
  if (!options.save_folder.empty()) {
    opened.saving = SaveAttachments(host, window, options.save_folder, opened.report);
  } else if (opened.report.attachments_left_to_button) {
    opened.saving.Complain(
        "attachments not decrypted because DisableAutoDecryptAttachments is on; "
        "--save-attachments saves them decrypted",
        Outcome::kRefused);
  }
  return opened;
}

void Print(DeskContext& context, const OpenResult& opened, const ItemData& item) {
  PrintMessage(context, item, opened.report);
  if (opened.original) {
    context.out << "\nOriginal message:\n" << ForDisplayLines(*opened.original) << "\n";
  }
}

Outcome ResultOutcome(const OpenResult& opened, const mail::Mail& mail) {
  const bool failed = opened.report.Failed() || mail.incomplete;
  return std::max(opened.saving.outcome, failed ? Outcome::kRefused : Outcome::kDone);
}

/// A message in its window.
struct OpenMessage {
  DeskHost& host;
  const mail::Mail& source;
  InspectorWindowPtr window;
  std::string file;
};

void PrintJson(DeskContext& context, const OpenMessage& message, const OpenResult& opened,
               Outcome outcome) {
  const Item& item = *message.window->ShownItem();
  nlohmann::json json{{"file", message.file}};
  AddMessage(json, opened.report);
  AddRemarks(json, opened.report);
  AddHeader(json, item.Data());
  json["body"] = *item.Data().body;
  json["goesOn"] = opened.report.shows_part;
  json["endsEarly"] = message.source.incomplete;
  if (opened.original) json["original"] = *opened.original;
  json["resultCode"] = static_cast<int>(outcome);
  AddBars(json, message.window->Bars());
  AddBoxes(json, message.host.Ui().Boxes());
  context.WriteJson(json);
}

Outcome ShowMessage(DeskContext& context, const OpenOptions& options, const OpenMessage& message) {
  const auto show = [&] {
    const OpenResult opened = ReadOpenMessage(message.host, message.window, options);
    for (const std::string& complaint : opened.saving.complaints) context.Tell(complaint);
    TellOfHiddenText(context, opened.report);
    const Outcome outcome = context.FinalOutcome(ResultOutcome(opened, message.source));
    if (context.json) {
      PrintJson(context, message, opened, outcome);
    } else {
      Print(context, opened, message.window->ShownItem()->Data());
    }
    message.host.Outlook().Close(message.window);
    return outcome;
  };
  return ReportingErrors(context, message.host, show, {{"file", message.file}});
}

Outcome OpenMail(DeskContext& context, const OpenOptions& options, const mail::MailPlace& place) {
  ReceivedMessage message(context, place, options.message.trace);
  return ShowMessage(
      context, options,
      {message.Host(), message.Source(), message.Window(), system::PathText(place.file)});
}

Outcome OpenNext(DeskContext& context, const OpenOptions& options, DeskHost& host,
                 const mail::MailPlace& place) {
  const mail::Mail mail = LoadReceived(context, place);
  host.Ui().StartBoxes();
  return ShowMessage(context, options,
                     {host, mail, OpenReceived(host, mail), system::PathText(place.file)});
}

/// Closes what a failure has left open.
void CloseWindows(DeskHost& host) {
  const auto windows = host.Outlook().Inspectors();
  for (const InspectorWindowPtr& window : windows) host.Outlook().Close(window);
}

/// One mail that cannot be read does not hide the others. The add-in stays connected, so that it
/// asks for a passphrase once.
Outcome OpenMails(DeskContext& context, const OpenOptions& options,
                  const std::vector<mail::MailPlace>& places) {
  Profile profile = context.OpenProfile();
  DeskHost host(
      profile, context.terminal, context.answers, context.messages,
      {.owner = FindOwner({}, AccountStore(profile.Registry())), .trace = options.message.trace});
  Outcome outcome = Outcome::kDone;
  for (const mail::MailPlace& place : places) {
    context.RequireOutput();
    if (!context.json) {
      context.out << (&place == &places.front() ? "" : "\n")
                  << "== " << ForDisplay(system::PathText(place.file)) << std::endl;
    }
    context.has_written_json = false;
    try {
      outcome = std::max(outcome, OpenNext(context, options, host, place));
    } catch (const CommandError& error) {
      context.TellError(error, system::PathText(place.file));
      outcome = std::max(outcome, error.outcome);
    } catch (const Error& error) {
      context.TellError({Outcome::kEnvironment, WithoutFullStop(error.description)},
                        system::PathText(place.file));
      outcome = Outcome::kEnvironment;
    }
    CloseWindows(host);
    if (host.IsInterrupted()) return std::max(outcome, Outcome::kRefused);
  }
  return outcome;
}

Outcome Open(DeskContext& context, const OpenOptions& options) {
  const auto places = FindMails(options.files);
  if (options.message.number != 0 || places.size() == 1) {
    return OpenMail(context, options, ChooseMail(places, options.message.number));
  }
  // An mbox or a folder: the user chooses from the list.
  if (places.size() != options.files.size()) return ListMails(context, places);
  return OpenMails(context, options, places);
}

}  // namespace

void AddOpenCommand(CLI::App& app, DeskContext& context) {
  const auto options = std::make_shared<OpenOptions>();
  auto* const open = app.add_subcommand("open", "open received messages and show them");
  open->add_option("file", options->files,
                   "mail files, an mbox file or a Maildir; - for standard input")
      ->required()
      ->type_name("FILE");
  AddNumberOption(*open, options->message);
  AddTraceOption(*open, options->message);
  open->add_option("--save-attachments", options->save_folder,
                   "save the attachments in this folder")
      ->type_name("DIR");
  open->add_flag("--original", options->original, "also show the message as it was received");
  OnRun(*open, context, [&context, options] { return Open(context, *options); });
}

}  // namespace corvessa::desk
