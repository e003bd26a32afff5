#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>

#include "base/text.h"
#include "desk/commands/command_context.h"
#include "desk/commands/commands.h"
#include "desk/commands/failure_report.h"
#include "desk/commands/received_message.h"
#include "desk/commands/shared_options.h"
#include "desk/commands/text_file.h"
#include "desk/json_report.h"
#include "desk/mail/mail_io.h"
#include "desk/message_report.h"
#include "desk/responding.h"

namespace corvessa::desk {
namespace {

struct ResponseOptions {
  MessageOptions message;
  std::string text_file;
  std::string out_file;
  bool to_all = false;
};

void Write(CommandContext& context, const ResponseOptions& options, DeskHost& host,
           const MessageReport& report, const mail::Mail& draft) {
  if (!options.out_file.empty()) {
    mail::WriteMail(draft, options.out_file, mail::MailPurpose::kDraft);
  }
  if (context.json) {
    nlohmann::json json;
    AddMessage(json, report);
    json["resultCode"] = static_cast<int>(Outcome::kDone);
    if (options.out_file.empty()) {
      json["message"] = mail::FormatMail(draft, mail::MailPurpose::kDraft);
    } else {
      json["file"] = options.out_file;
    }
    AddBoxes(json, host.Ui().Boxes());
    context.WriteJson(json);
  } else if (options.out_file.empty()) {
    context.out << mail::FormatMail(draft, mail::MailPurpose::kDraft);
  } else {
    context.out << "The draft is in " << ForDisplay(options.out_file) << ".\n";
  }
}

Outcome Run(CommandContext& context, const ResponseOptions& options, Response response) {
  RefuseToReplace(options.out_file, {options.message.file, options.text_file});
  const std::string text =
      options.text_file.empty() ? std::string() : ReadWholeFile(options.text_file);
  ReceivedMessage message(context, options.message);
  return ReportingFailures(context, message.Host(), [&] {
    const MessageReport report = ReadMessage(message.Window());
    RefuseToQuote(report);
    const ItemPtr draft = Respond(message.Host(), message.Window()->ShownItem(), response, text);
    Write(context, options, message.Host(), report, DraftOf(message.Host(), draft->Data()));
    message.Close();
    return Outcome::kDone;
  });
}

CLI::App* AddCommand(CLI::App& app, CommandContext& context, const char* name, const char* help,
                     const std::shared_ptr<ResponseOptions>& options, Response response) {
  auto* const command = app.add_subcommand(name, help);
  AddMessageOptions(*command, context, options->message);
  command->add_option("--text", options->text_file, "what to write above; - for the input")
      ->type_name("FILE");
  command->add_option("--out", options->out_file, "write the draft there instead of the output")
      ->type_name("FILE");
  OnRun(*command, context, [&context, options, response] {
    return Run(context, *options, options->to_all ? Response::kReplyToAll : response);
  });
  return command;
}

}  // namespace

void AddResponseCommands(CLI::App& app, CommandContext& context) {
  const auto reply = std::make_shared<ResponseOptions>();
  AddCommand(app, context, "reply", "write the draft of a reply", reply, Response::kReply)
      ->add_flag("--all", reply->to_all, "to all recipients, too");
  AddCommand(app, context, "forward", "write the draft of a forwarding",
             std::make_shared<ResponseOptions>(), Response::kForward);
}

}  // namespace corvessa::desk
