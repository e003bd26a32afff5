#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>

#include "base/text.h"
#include "desk/commands/command.h"
#include "desk/commands/received_message.h"
#include "desk/mail/mail_io.h"
#include "desk/message_report.h"
#include "desk/printing.h"

namespace corvessa::desk {
namespace {

struct ResponseOptions {
  MessageOptions message;
  std::string text_file;
  std::string out_file;
  bool to_all = false;
};

void WriteDraft(DeskContext& context, const ResponseOptions& options, DeskHost& host,
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
    context.out << "Draft written to " << ForDisplay(options.out_file) << "\n";
  }
}

Outcome Run(DeskContext& context, const ResponseOptions& options, Response response) {
  RefuseToReplace(options.out_file, {options.message.file, options.text_file});
  const std::string text =
      options.text_file.empty() ? std::string() : ReadWholeFile(options.text_file);
  ReceivedMessage message(context,
                          ChooseMail(FindMails({options.message.file}), options.message.number),
                          options.message.trace);
  return ReportingErrors(context, message.Host(), [&] {
    const MessageReport report = ReadMessage(message.Host(), message.Window()->ShownItem());
    RefuseToQuote(report);
    const ItemPtr draft = Respond(message.Host(), message.Window()->ShownItem(), response, text);
    WriteDraft(context, options, message.Host(), report,
               ToDraftMail(message.Host(), draft->Data()));
    message.Close();
    return Outcome::kDone;
  });
}

CLI::App* AddCommand(CLI::App& app, DeskContext& context, const char* name, const char* help,
                     const std::shared_ptr<ResponseOptions>& options, Response response) {
  auto* const command = app.add_subcommand(name, help);
  AddFileOption(*command, options->message);
  AddNumberOption(*command, options->message);
  AddTraceOption(*command, options->message);
  command
      ->add_option("--text", options->text_file,
                   "a file with text to insert above; - for standard input")
      ->type_name("FILE");
  command
      ->add_option("--out", options->out_file,
                   "write the draft to this file instead of standard output")
      ->type_name("FILE");
  OnRun(*command, context, [&context, options, response] {
    return Run(context, *options, options->to_all ? Response::kReplyToAll : response);
  });
  return command;
}

}  // namespace

void AddResponseCommands(CLI::App& app, DeskContext& context) {
  const auto reply = std::make_shared<ResponseOptions>();
  AddCommand(app, context, "reply", "write the draft of a reply", reply, Response::kReply)
      ->add_flag("--all", reply->to_all, "reply to all recipients");
  AddCommand(app, context, "forward", "write the draft of a forward",
             std::make_shared<ResponseOptions>(), Response::kForward);
}

}  // namespace corvessa::desk
