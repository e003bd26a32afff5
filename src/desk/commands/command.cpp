#include "desk/commands/command.h"

#include <CLI/CLI.hpp>
#include <ostream>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "desk/desk_host.h"
#include "desk/printing.h"
#include "engine/engine.h"
#include "posix/file_descriptor.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa::desk {

Profile CommandContext::OpenProfile() const {
  return Profile(profile_folder.empty() ? Profile::DefaultFolder() : profile_folder);
}

void CommandContext::Tell(std::string_view line) const {
  terminal.ClearStatus();
  messages << kProgram << ": " << ForDisplay(line) << std::endl;
}

void CommandContext::TellKeyTrouble(const Profile& profile) const {
  const std::string trouble = engine::FindKeyTrouble(profile.KeysFolder());
  if (!trouble.empty()) Tell(WithoutFullStop(trouble));
}

void CommandContext::WriteJson(const nlohmann::json& report) {
  out << JsonLine(report);
  has_written_json = true;
}

Outcome CommandContext::FinalOutcome(Outcome outcome) {
  const std::error_code failure = system::DiskFailure();
  if (outcome != Outcome::kRefused || !failure) return outcome;
  if (!std::exchange(has_reported_disk_failure, true)) {
    Tell("the cause is a disk failure: " + failure.message());
  }
  return Outcome::kEnvironment;
}

void CommandContext::TellError(const CommandError& error) {
  Tell(error.message);
  if (!json || has_written_json) return;
  WriteJson({{"resultCode", static_cast<int>(error.outcome)}, {"error", error.message}});
  out.flush();
}

void AddMessageOptions(CLI::App& command, CommandContext& context, MessageOptions& options) {
  command.add_option("file", options.file, "the mail file; - for standard input")
      ->required()
      ->type_name("FILE");
  command.add_flag("--json", context.json, "write one JSON object instead of text");
  command.add_flag("--trace", options.trace, "write the add-in's trace to standard error");
}

void AddAddressOption(CLI::App& command, std::string& address) {
  command.add_option("address", address, "the email address")->required()->type_name("ADDRESS");
}

void AddOutlookOption(CLI::App& command, int& version) {
  command.add_option("--outlook", version, "the version of Outlook to play")
      ->check(CLI::IsMember({9, 10, 11}).description(""))
      ->type_name("9|10|11");
}

void OnRun(CLI::App& command, CommandContext& context, std::function<Outcome()> run) {
  command.callback([&context, run = std::move(run)] { context.run = run; });
}

namespace {

void WriteErrorReport(CommandContext& context, DeskHost& host, const CommandError& error,
                      nlohmann::json json) {
  if (!context.json || context.has_written_json) return;
  json["resultCode"] = static_cast<int>(context.FinalOutcome(error.outcome));
  json["error"] = error.message;
  AddBoxes(json, host.Ui().Boxes());
  context.WriteJson(json);
}

}  // namespace

Outcome ReportingErrors(CommandContext& context, DeskHost& host,
                        const std::function<Outcome()>& run, const nlohmann::json& on_failure) {
  try {
    const Outcome outcome = run();
    context.TellKeyTrouble(host.UsedProfile());
    return outcome;
  } catch (const CommandError& error) {
    context.TellKeyTrouble(host.UsedProfile());
    WriteErrorReport(context, host, error, on_failure);
    throw;
  } catch (const Error& error) {
    context.TellKeyTrouble(host.UsedProfile());
    WriteErrorReport(context, host, {Outcome::kEnvironment, WithoutFullStop(error.description)},
                     on_failure);
    throw;
  }
}

std::string ReadWholeFile(const std::string& path) {
  try {
    if (path == "-") return posix::ReadAll(STDIN_FILENO);
    return system::File::OpenStream(path).ReadAll();
  } catch (const std::system_error& error) {
    system::RaiseIoError(path, "cannot be read", error.code());
  }
}

void RefuseToReplace(const std::string& out_file, const std::vector<std::string>& input_files) {
  for (const std::string& input : input_files) {
    std::error_code ignored;
    if (out_file.empty() || !std::filesystem::equivalent(out_file, input, ignored)) continue;
    throw CommandError{Outcome::kWrongUse,
                       out_file + " is an input file; choose another file to write"};
  }
}

}  // namespace corvessa::desk
