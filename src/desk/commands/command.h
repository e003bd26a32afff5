#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "desk/command_error.h"
#include "desk/profile/profile.h"
#include "desk/terminal/answers.h"
#include "desk/terminal/terminal.h"

namespace CLI {
class App;
}

/// The program and what its commands share. Each command adds itself to the command line
/// (Add…Commands) and leaves in the context what to run once the whole command line has been read.
/// A command prints its result to `out`, tells the user about trouble in lines on `messages`, and
/// ends with an Outcome or by throwing CommandError or Error.
namespace corvessa::desk {

class DeskHost;

/// Reads the command line, runs the command and returns the exit code.
int RunDesk(int argument_count, const char* const* arguments, Terminal& terminal, std::ostream& out,
            std::ostream& messages);

struct CommandContext {
  std::ostream& out;
  std::ostream& messages;
  Terminal& terminal;

  std::filesystem::path profile_folder = {};
  std::vector<std::string> passphrases = {};
  std::vector<std::string> given_answers = {};
  Answers answers = {};
  /// --json was given.
  bool json = false;

  /// The chosen command.
  std::function<Outcome()> run = {};
  bool has_written_json = false;
  bool has_reported_disk_failure = false;

  /// Opens the profile of --profile, or the user's default one.
  Profile OpenProfile() const;
  /// Writes one line to the user.
  void Tell(std::string_view line) const;
  /// Writes why keys may be missing, if anything is wrong with the profile's key rings. Call it
  /// after the engine's work, which brings damage to light.
  void TellKeyTrouble(const Profile& profile) const;
  /// Writes the one JSON object of --json.
  void WriteJson(const nlohmann::json& report);
  /// The exit code for an outcome. A refusal caused by the disk counts as kEnvironment, and the
  /// user is told: the add-in only reports that something failed.
  Outcome FinalOutcome(Outcome outcome);
  /// Reports why the command failed: a line, and with --json an object (resultCode, error) unless
  /// one has been written.
  void TellError(const CommandError& error);
};

void AddKeyCommands(CLI::App& app, CommandContext& context);
void AddAccountCommands(CLI::App& app, CommandContext& context);
void AddSettingsCommands(CLI::App& app, CommandContext& context);
void AddOpenCommand(CLI::App& app, CommandContext& context);
void AddSendCommand(CLI::App& app, CommandContext& context);
void AddResponseCommands(CLI::App& app, CommandContext& context);
void AddShellCommand(CLI::App& app, CommandContext& context);

/// The options of every command that works on one message; --json goes into the context.
struct MessageOptions {
  std::string file;
  bool trace = false;
};
void AddMessageOptions(CLI::App& command, CommandContext& context, MessageOptions& options);
void AddAddressOption(CLI::App& command, std::string& address);
/// --outlook: the version of Outlook that the desk plays.
void AddOutlookOption(CLI::App& command, int& version);
/// Makes `run` what the context runs when this command is chosen.
void OnRun(CLI::App& command, CommandContext& context, std::function<Outcome()> run);

/// Runs the part of a command that has a message open, then tells of trouble with the key rings. If
/// it fails, --json still gets an object: resultCode, error, the boxes shown so far, and the
/// members of `on_failure`.
Outcome ReportingErrors(CommandContext& context, DeskHost& host,
                        const std::function<Outcome()>& run, const nlohmann::json& on_failure = {});

/// The whole content of a file, or of standard input for "-". Throws Error with a line for the
/// user.
std::string ReadWholeFile(const std::string& path);

/// Throws CommandError (wrong use) if the output file is one of the input files: it may be the
/// user's only copy.
void RefuseToReplace(const std::string& out_file, const std::vector<std::string>& input_files);

}  // namespace corvessa::desk
