#include <CLI/CLI.hpp>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "desk/commands/command.h"

namespace corvessa::desk {
namespace {

void AddGlobalOptions(CLI::App& app, CommandContext& context) {
  app.add_option("--profile", context.profile_folder,
                 "the profile folder; by default, corvessa in the user's data folder")
      ->type_name("DIR");
  app.add_option("--passphrase", context.passphrases,
                 "a file whose first line is the passphrase of the address")
      ->type_name("ADDRESS=FILE")
      ->allow_extra_args(false);
  app.add_option("--answer", context.given_answers,
                 "answer a prompt by pressing this control, a message box by OK or Cancel")
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

/// An unset variable in a script must not silently select a default.
void RefuseEmptyValues(CLI::App& app) {
  const CLI::Validator not_empty(
      [](const std::string& value) { return std::string(value.empty() ? "is empty" : ""); }, "");
  for (CLI::Option* option : app.get_options()) {
    const bool may_be_empty = option->get_type_name() == "VALUE";
    if (option->get_expected_max() > 0 && !may_be_empty) option->check(not_empty);
  }
  for (CLI::App* command : app.get_subcommands({})) RefuseEmptyValues(*command);
}

/// Names a misspelt command, which the parser reports as a missing one.
std::string DescribeParseError(const CLI::App& app, const CLI::ParseError& error) {
  const auto rest = app.remaining(true);
  const bool lacks_command = std::string_view(error.what()) == "A subcommand is required";
  if (!lacks_command || rest.empty()) return error.what();
  return "unknown command \"" + rest.front() + "\"";
}

/// The option that shows help for the chosen command.
std::string HelpOption(const CLI::App& app) {
  const auto chosen = app.get_subcommands();
  if (chosen.empty()) return "--help";
  return chosen.front()->get_name() + " " + HelpOption(*chosen.front());
}

/// A malformed option is wrong use; an unreadable passphrase file is not.
void ReadAnswers(CommandContext& context) {
  try {
    for (const std::string& argument : context.given_answers) context.answers.AddAnswer(argument);
    for (const std::string& argument : context.passphrases) context.answers.AddPassphrase(argument);
  } catch (const Error& error) {
    if (error.number != kInvalidArgument) throw;
    throw CommandError{Outcome::kWrongUse, error.description};
  }
}

/// Otherwise a misspelt answer would go unnoticed.
void TellOfUnusedAnswers(const CommandContext& context) {
  for (const std::string& answer : context.answers.Unused()) {
    context.Tell("unused answer: " + answer);
  }
}

Outcome Run(CommandContext& context) {
  try {
    ReadAnswers(context);
    const Outcome outcome = context.FinalOutcome(context.run());
    TellOfUnusedAnswers(context);
    context.out.flush();
    if (!context.out) throw CommandError{Outcome::kEnvironment, "cannot write the output"};
    return outcome;
  } catch (const CommandError& error) {
    context.TellError(error);
    if (error.outcome == Outcome::kRefused) TellOfUnusedAnswers(context);
    return context.FinalOutcome(error.outcome);
  } catch (const Error& error) {
    context.TellError({Outcome::kEnvironment, WithoutFullStop(error.description)});
  } catch (const std::exception& error) {
    context.TellError({Outcome::kEnvironment, error.what()});
  }
  return Outcome::kEnvironment;
}

}  // namespace

int RunDesk(int argument_count, const char* const* arguments, Terminal& terminal, std::ostream& out,
            std::ostream& messages) {
  CommandContext context{out, messages, terminal};
  CLI::App app{"Plays Outlook for the add-in over real mail files.", std::string(kProgram)};
  app.set_help_flag("-h,--help", "print this help and exit");
  app.set_version_flag("--version", std::string(kProgram) + " " CORVESSA_VERSION,
                       "print the version and exit");
  AddGlobalOptions(app, context);
  AddCommands(app, context);
  RefuseEmptyValues(app);
  try {
    app.parse(argument_count, arguments);
  } catch (const CLI::Success& help) {
    app.exit(help, out, messages);
    return static_cast<int>(Outcome::kDone);
  } catch (const CLI::ParseError& error) {
    context.Tell(DescribeParseError(app, error) + "; see " + std::string(kProgram) + " " +
                 HelpOption(app));
    return static_cast<int>(Outcome::kWrongUse);
  }
  return static_cast<int>(Run(context));
}

}  // namespace corvessa::desk
