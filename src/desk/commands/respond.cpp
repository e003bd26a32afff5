#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>

#include "base/text.h"
#include "desk/commands/command_context.h"
#include "desk/commands/message_options.h"
#include "desk/commands/text_file.h"
#include "desk/desk_host.h"
#include "desk/json_report.h"
#include "desk/mail/mail_io.h"
#include "desk/mail_bridge.h"
#include "desk/message_report.h"
#include "desk/owner.h"
#include "desk/responding.h"
#include "desk/settings_store.h"

namespace corvessa::desk {
namespace {

struct ResponseOptions {
  MessageOptions message;
  std::string text_file;
  std::string out_file;
  bool to_all = false;
};

/// A draft must quote what was said, not armour, and nothing that was forged.
void RefuseUnreadable(const MessageReport& report) {
  if (!report.protection || !report.Failed()) return;
  if (report.protection->DecryptionFailed()) {
    Fail(Outcome::kRefused, "the message could not be decrypted; no draft was made");
  }
  if (report.protection->sign_status == kHasBadSignature) {
    Fail(Outcome::kRefused, "the message has an invalid signature; no draft was made");
  }
}

void Write(CommandContext& context, const ResponseOptions& options, DeskHost& host,
           const MessageReport& report, const mail::Mail& draft) {
  if (!options.out_file.empty()) {
    mail::WriteMail(draft, options.out_file, mail::MailPurpose::kDraft);
  }
  if (options.message.json) {
    nlohmann::json json;
    AddMessage(json, report);
    json["resultCode"] = static_cast<int>(Outcome::kDone);
    if (options.out_file.empty()) {
      json["message"] = mail::FormatMail(draft, mail::MailPurpose::kDraft);
    } else {
      json["file"] = options.out_file;
    }
    AddBoxes(json, host.Ui().Boxes());
    context.out << TextOf(json);
  } else if (options.out_file.empty()) {
    context.out << mail::FormatMail(draft, mail::MailPurpose::kDraft);
  } else {
    context.out << "The draft is in " << ForDisplay(options.out_file) << ".\n";
  }
}

Outcome Run(CommandContext& context, const ResponseOptions& options, Response response) {
  const mail::Mail mail = mail::LoadMail(options.message.file);
  if (mail.incomplete) context.Tell(options.message.file + " ends early; this is what is there");
  const std::string text =
      options.text_file.empty() ? std::string() : ReadWholeFile(options.text_file);
  Profile profile = context.OpenProfile();
  const Person owner = OwnerFor(mail, SettingsStore(profile.Registry()));
  DeskHost host(profile, context.terminal, context.answers, context.messages,
                {.owner = owner, .trace = options.message.trace});
  host.BeginOperation();
  const auto window = host.Outlook().Open(host.Outlook().AddReceived(ReceivedItem(mail)));
  if (!window) Fail(Outcome::kRefused, "the message was closed while it was opened");
  const MessageReport report = ReadMessage(host, window);
  RefuseUnreadable(report);
  const ItemPtr draft = Respond(host, window->ShownItem(), response, text);
  Write(context, options, host, report, DraftOf(host, draft->Data()));
  host.Outlook().Close(window);
  return Outcome::kDone;
}

CLI::App* AddCommand(CLI::App& app, CommandContext& context, const char* name, const char* help,
                     const std::shared_ptr<ResponseOptions>& options, Response response) {
  auto* const command = app.add_subcommand(name, help);
  AddMessageOptions(*command, options->message);
  command->add_option("--text", options->text_file, "what to write above; - for the input")
      ->type_name("FILE");
  command->add_option("--out", options->out_file, "write the draft there instead of the output")
      ->type_name("FILE");
  command->callback([&context, options, response] {
    context.run = [&context, options, response] {
      return Run(context, *options, options->to_all ? Response::kReplyToAll : response);
    };
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
