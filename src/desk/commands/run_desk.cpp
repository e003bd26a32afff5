#include <CLI/CLI.hpp>
#include <string>

#include "desk/commands/command.h"
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
  CLI::App app;
  AddCommandLine(app, context);
  return RunProgram(app, context, argument_count, arguments);
}

}  // namespace corvessa::desk
