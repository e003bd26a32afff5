#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "desk/commands/command.h"
#include "desk/profile/system_services.h"
#include "desk/program.h"

namespace corvessa::desk {
namespace {

void AddGlobalOptions(CLI::App& app, DeskContext& context) {
  app.add_option("--profile", context.profile_folder,
                 "the profile folder; by default, corvessa in the user's data folder")
      ->type_name("DIR");
  AddJsonOption(app, context);
  AddPassphraseOption(app, context);
  app.add_option("--answer", context.given_answers,
                 "answer a prompt by pressing this control, a message box by OK or Cancel")
      ->type_name("FORM=CONTROL")
      ->allow_extra_args(false);
}

/// What --help prints of the command that the words name, or of the program.
Outcome ShowHelp(DeskContext& context, CLI::App& app, const std::vector<std::string>& words) {
  CLI::App* command = &app;
  std::string name = app.get_name();
  for (const std::string& word : words) {
    try {
      command = command->get_subcommand(word);
    } catch (const CLI::OptionNotFound&) {
      throw CommandError{Outcome::kWrongUse, "unknown command \"" + word + "\""};
    }
    name += " " + word;
  }
  context.out << app.get_formatter()->make_help(command, name, CLI::AppFormatMode::Normal);
  return Outcome::kDone;
}

void AddHelpCommand(CLI::App& app, DeskContext& context) {
  const auto words = std::make_shared<std::vector<std::string>>();
  auto* const help = app.add_subcommand("help", "show the help of a command");
  help->add_option("command", *words, "such as send or key import")->type_name("COMMAND");
  OnRun(*help, context, [&context, &app, words] { return ShowHelp(context, app, *words); });
}

void AddCommands(CLI::App& app, DeskContext& context) {
  app.require_subcommand(1);
  app.fallthrough();
  AddKeyCommands(app, context);
  AddAccountCommands(app, context);
  AddSettingsCommands(app, context);
  AddOpenCommand(app, context);
  AddListCommand(app, context);
  AddSendCommand(app, context);
  AddResponseCommands(app, context);
  AddShellCommand(app, context);
  AddHelpCommand(app, context);
}

}  // namespace

void AddCommandLine(CLI::App& app, DeskContext& context) {
  context.run_program = [](const std::vector<std::string>& program) { return RunProgram(program); };
  app.name(std::string(kProgram));
  app.description("sign, encrypt, decrypt and verify mail files, as Outlook with the add-in does");
  app.set_help_flag("-h,--help", "print this help and exit");
  app.set_version_flag("--version", std::string(kProgram) + " " CORVESSA_VERSION,
                       "print the version and exit");
  AddGlobalOptions(app, context);
  AddCommands(app, context);
  AddHelp(app, DeskHelp());
}

int RunDesk(int argument_count, const char* const* arguments, Terminal& terminal, std::ostream& out,
            std::ostream& messages) {
  Answers answers;
  DeskContext context(out, messages, terminal, answers);
  context.style = Terminal::StyleOfOutput();
  if (context.style.has_signs) context.style.local_date = DateText;
  CLI::App app;
  AddCommandLine(app, context);
  return RunProgram(app, context, argument_count, arguments);
}

}  // namespace corvessa::desk
