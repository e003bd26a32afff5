#include "commands/command_context.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>
#include <system_error>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa {
namespace {

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
void ReadArguments(CommandContext& context) {
  try {
    context.ReadArguments();
  } catch (const Error& error) {
    if (error.number != kInvalidArgument) throw;
    throw CommandError{Outcome::kWrongUse, error.description};
  }
}

Outcome Run(CommandContext& context) {
  try {
    ReadArguments(context);
    const Outcome outcome = context.FinalOutcome(context.run());
    context.TellOfUnused();
    context.out.flush();
    context.RequireOutput();
    return outcome;
  } catch (const ClosedOutput&) {
    return Outcome::kEnvironment;
  } catch (const CommandError& error) {
    context.TellError(error);
    if (error.outcome == Outcome::kRefused) context.TellOfUnused();
    return context.FinalOutcome(error.outcome);
  } catch (const Error& error) {
    context.TellError({Outcome::kEnvironment, WithoutFullStop(error.description)});
  } catch (const std::exception& error) {
    context.TellError({Outcome::kEnvironment, error.what()});
  }
  return Outcome::kEnvironment;
}

}  // namespace

void CommandContext::RequireOutput() const {
  if (out) return;
  if (IsOutputClosed()) throw ClosedOutput{};
  throw CommandError{Outcome::kEnvironment, "cannot write the output"};
}

void CommandContext::Tell(std::string_view line) const {
  messages << program << ": " << ForDisplay(line) << std::endl;
}

void CommandContext::TellError(const CommandError& error, const std::string& file) {
  Tell(error.message);
  if (!json || has_written_json) return;
  nlohmann::json report{{"resultCode", static_cast<int>(error.outcome)}, {"error", error.message}};
  if (!file.empty()) report["file"] = file;
  WriteJson(report);
  out.flush();
}

void CommandContext::WriteJson(const nlohmann::json& report) {
  ListJson(report);
  has_written_json = true;
}

void CommandContext::ListJson(const nlohmann::json& report) {
  // Escapes everything but ASCII: control characters and direction marks would reach a terminal.
  out << report.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) << "\n";
}

void CommandContext::ReadArguments() {
  for (const std::string& argument : passphrase_arguments) passphrases.AddPassphrase(argument);
}

void CommandContext::TellKeyTrouble(const std::filesystem::path& keys_folder) const {
  const std::string trouble = engine::FindKeyTrouble(keys_folder);
  if (!trouble.empty()) Tell(WithoutFullStop(trouble));
}

Outcome CommandContext::FinalOutcome(Outcome outcome) {
  const std::error_code failure = system::DiskFailure();
  if (outcome != Outcome::kRefused || !failure) return outcome;
  if (!std::exchange(has_reported_disk_failure_, true)) {
    Tell("the cause is a disk failure: " + failure.message());
  }
  return Outcome::kEnvironment;
}

int RunProgram(CLI::App& app, CommandContext& context, int argument_count,
               const char* const* arguments) {
  RefuseEmptyValues(app);
  try {
    app.parse(argument_count, arguments);
  } catch (const CLI::Success& help) {
    app.exit(help, context.out, context.messages);
    return static_cast<int>(Outcome::kDone);
  } catch (const CLI::ParseError& error) {
    // The parser has not set what follows the mistake.
    context.json = std::any_of(arguments, arguments + argument_count,
                               [](std::string_view argument) { return argument == "--json"; });
    context.TellError({Outcome::kWrongUse, DescribeParseError(app, error) + "; see " +
                                               std::string(context.program) + " " +
                                               HelpOption(app)});
    return static_cast<int>(Outcome::kWrongUse);
  }
  return static_cast<int>(Run(context));
}

void AddJsonOption(CLI::App& app, CommandContext& context) {
  app.add_flag("--json", context.json, "write JSON objects instead of text, one a line");
}

void AddPassphraseOption(CLI::App& app, CommandContext& context) {
  app.add_option("--passphrase", context.passphrase_arguments,
                 "a file whose first line is the passphrase of the address")
      ->type_name("ADDRESS=FILE")
      ->allow_extra_args(false);
}

void AddAddressOption(CLI::App& command, std::string& address) {
  command.add_option("address", address, "the email address")->required()->type_name("ADDRESS");
}

void OnRun(CLI::App& command, CommandContext& context, std::function<Outcome()> run) {
  command.callback([&context, run = std::move(run)] { context.run = run; });
}

std::string ReadWholeFile(const std::string& path) {
  try {
    auto file = path == "-" ? system::File::StandardInput()
                            : system::File::OpenStream(system::PathOf(path));
    return file.ReadAll();
  } catch (const std::system_error& error) {
    system::RaiseIoError(system::PathOf(path), "cannot be read", error.code());
  }
}

}  // namespace corvessa
