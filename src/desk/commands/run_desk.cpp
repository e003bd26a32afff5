#include "desk/commands/run_desk.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "desk/commands/command_context.h"
#include "desk/commands/commands.h"

namespace corvessa::desk {
namespace {

void AddGlobalOptions(CLI::App& app, CommandContext& context) {
  app.add_option("--profile", context.profile_folder,
                 "the profile folder (default: corvessa in the user's data folder)")
      ->type_name("DIR");
  app.add_option("--passphrase", context.passphrases,
                 "the passphrase of an address is the first line of that file")
      ->type_name("ADDRESS=FILE")
      ->allow_extra_args(false);
  app.add_option("--answer", context.given_answers,
                 "answer a prompt by pressing that control, a message box by OK or Cancel")
      ->type_name("FORM=CONTROL")
      ->allow_extra_args(false);
}

void AddCommands(CLI::App& app, CommandContext& context) {
  app.require_subcommand(1);
  app.fallthrough();
  AddKeyCommands(app, context);
  AddAccountCommands(app, context);
  AddSettingsCommands(app, context);
  AddOpenCommand(app, context);
  AddSendCommand(app, context);
  AddResponseCommands(app, context);
  AddShellCommand(app, context);
}

/// An unset variable of a script must not turn "there" into "nowhere in particular".
void RefuseEmptyValues(CLI::App& app) {
  const CLI::Validator not_empty(
      [](const std::string& value) { return std::string(value.empty() ? "is empty" : ""); }, "");
  for (CLI::Option* option : app.get_options()) {
    const bool may_be_empty = option->get_type_name() == "VALUE";
    if (option->get_expected_max() > 0 && !may_be_empty) option->check(not_empty);
  }
  for (CLI::App* command : app.get_subcommands({})) RefuseEmptyValues(*command);
}

/// A misspelt command is not taken for a missing one.
std::string ComplaintOf(const CLI::App& app, const CLI::ParseError& error) {
  const auto rest = app.remaining(true);
  const bool lacks_command = std::string_view(error.what()) == "A subcommand is required";
  if (!lacks_command || rest.empty()) return error.what();
  return "there is no command " + rest.front();
}

/// How to get help with the command that was meant.
std::string HelpOf(const CLI::App& app) {
  const auto chosen = app.get_subcommands();
  if (chosen.empty()) return "--help";
  return chosen.front()->get_name() + " " + HelpOf(*chosen.front());
}

/// Wrong texts are wrong use; a passphrase file that cannot be read is not.
void TakeAnswers(CommandContext& context) {
  try {
    for (const std::string& argument : context.given_answers) context.answers.AddAnswer(argument);
    for (const std::string& argument : context.passphrases) context.answers.AddPassphrase(argument);
  } catch (const Error& error) {
    if (error.number != kInvalidArgument) throw;
    Fail(Outcome::kWrongUse, error.description);
  }
}

/// A misspelt answer answers nothing, which nobody would notice else.
void TellOfUnusedAnswers(const CommandContext& context) {
  for (const std::string& answer : context.answers.Unused()) {
    context.Tell("the answer " + answer + " was not asked for");
  }
}

Outcome Run(CommandContext& context) {
  try {
    TakeAnswers(context);
    const Outcome outcome = context.Judge(context.run());
    TellOfUnusedAnswers(context);
    context.out.flush();
    if (!context.out) Fail(Outcome::kEnvironment, "the output cannot be written");
    return outcome;
  } catch (const Failure& failure) {
    context.TellFailure(failure.outcome, failure.message);
    if (failure.outcome == Outcome::kRefused) TellOfUnusedAnswers(context);
    return context.Judge(failure.outcome);
  } catch (const Error& error) {
    context.TellFailure(Outcome::kEnvironment, WithoutFullStop(error.description));
  } catch (const std::exception& error) {
    context.TellFailure(Outcome::kEnvironment, error.what());
  }
  return Outcome::kEnvironment;
}

}  // namespace

int RunDesk(int argument_count, const char* const* arguments, Terminal& terminal, std::ostream& out,
            std::ostream& messages) {
  CommandContext context{out, messages, terminal};
  CLI::App app{"Plays Outlook for the add-in over real mail files.", std::string(kProgram)};
  app.set_version_flag("--version", std::string(kProgram) + " " CORVESSA_VERSION);
  AddGlobalOptions(app, context);
  AddCommands(app, context);
  RefuseEmptyValues(app);
  try {
    app.parse(argument_count, arguments);
  } catch (const CLI::Success& help) {
    app.exit(help, out, messages);
    return static_cast<int>(Outcome::kDone);
  } catch (const CLI::ParseError& error) {
    context.Tell(ComplaintOf(app, error) + "; see " + std::string(kProgram) + " " + HelpOf(app));
    return static_cast<int>(Outcome::kWrongUse);
  }
  return static_cast<int>(Run(context));
}

}  // namespace corvessa::desk
