#include "desk/commands/command.h"

#include <CLI/CLI.hpp>
#include <ostream>
#include <system_error>

#include "base/error.h"
#include "desk/desk_host.h"
#include "desk/engine_setup.h"
#include "desk/printing.h"

namespace corvessa::desk {

namespace {

class ProfileData final : public UserData {
 public:
  explicit ProfileData(const std::filesystem::path& folder) : profile_(folder) {}

  platform::Registry& Registry() override { return profile_.Registry(); }
  void SaveRegistry() override { profile_.Registry().Save(); }
  std::filesystem::path KeysFolder() const override { return profile_.KeysFolder(); }
  std::shared_ptr<engine::OpenPgpEngine> OpenEngine() override {
    return desk::OpenEngine(profile_);
  }

 private:
  Profile profile_;
};

std::filesystem::path ProfileFolder(const DeskContext& context) {
  return context.profile_folder.empty() ? Profile::DefaultFolder() : context.profile_folder;
}

}  // namespace

std::unique_ptr<UserData> DeskContext::OpenUserData() const {
  return std::make_unique<ProfileData>(ProfileFolder(*this));
}

Profile DeskContext::OpenProfile() const {
  return Profile(ProfileFolder(*this));
}

bool DeskContext::IsOutputClosed() const {
  if (!Terminal::IsOutputClosed()) return false;
  terminal.EndBy(SIGPIPE);
  return true;
}

void DeskContext::Tell(std::string_view line) const {
  terminal.ClearStatus();
  CommandContext::Tell(line);
}

void DeskContext::ReadArguments() {
  for (const std::string& argument : given_answers) answers.AddAnswer(argument);
  CommandContext::ReadArguments();
}

void DeskContext::TellOfUnused() const {
  for (const std::string& answer : answers.Unused()) Tell("unused answer: " + answer);
}

void AddFileOption(CLI::App& command, MessageOptions& options) {
  command.add_option("file", options.file, "the mail file; - for standard input")
      ->required()
      ->type_name("FILE");
}

void AddTraceOption(CLI::App& command, MessageOptions& options) {
  command.add_flag("--trace", options.trace, "write the add-in's trace to standard error");
}

void AddNumberOption(CLI::App& command, MessageOptions& options) {
  command.add_option("--message", options.number, "the mail of an mbox or folder, from 1")
      ->check(CLI::PositiveNumber.description(""))
      ->type_name("N");
}

void AddOutlookOption(CLI::App& command, int& version) {
  command.add_option("--outlook", version, "the version of Outlook to play")
      ->check(CLI::IsMember({9, 10, 11}).description(""))
      ->type_name("9|10|11");
}

namespace {

void WriteErrorReport(DeskContext& context, DeskHost& host, const CommandError& error,
                      nlohmann::json json) {
  if (!context.json || context.has_written_json) return;
  json["resultCode"] = static_cast<int>(context.FinalOutcome(error.outcome));
  json["error"] = error.message;
  AddBoxes(json, host.Ui().Boxes());
  context.WriteJson(json);
}

}  // namespace

Outcome ReportingErrors(DeskContext& context, DeskHost& host, const std::function<Outcome()>& run,
                        const nlohmann::json& on_failure) {
  try {
    const Outcome outcome = run();
    context.TellKeyTrouble(host.UsedProfile().KeysFolder());
    return outcome;
  } catch (const CommandError& error) {
    context.TellKeyTrouble(host.UsedProfile().KeysFolder());
    WriteErrorReport(context, host, error, on_failure);
    throw;
  } catch (const Error& error) {
    context.TellKeyTrouble(host.UsedProfile().KeysFolder());
    WriteErrorReport(context, host, {Outcome::kEnvironment, WithoutFullStop(error.description)},
                     on_failure);
    throw;
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
