#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "commands/command_context.h"
#include "commands/command_help.h"
#include "desk/profile/profile.h"
#include "desk/terminal/answers.h"
#include "desk/terminal/terminal.h"

/// The desk and what its commands share, see CommandContext.
namespace corvessa::desk {

class DeskHost;

/// Reads the command line, runs the command and returns the exit code.
int RunDesk(int argument_count, const char* const* arguments, Terminal& terminal, std::ostream& out,
            std::ostream& messages);

class DeskContext final : public CommandContext {
 public:
  DeskContext(std::ostream& result, std::ostream& lines, Terminal& user, Answers& given)
      : CommandContext(kProgram, result, lines, user, given), terminal(user), answers(given) {}

  std::unique_ptr<UserData> OpenUserData() const override;
  int OutputColumns() const override { return Terminal::OutputColumns(); }
  /// The program then ends as other tools do, by the signal of a broken pipe.
  bool IsOutputClosed() const override;
  void Tell(std::string_view line) const override;
  void ReadArguments() override;
  void TellOfUnused() const override;

  /// Opens the profile of --profile, or the user's default one.
  Profile OpenProfile() const;

  Terminal& terminal;
  Answers& answers;
  std::filesystem::path profile_folder;
  std::vector<std::string> given_answers;
};

/// Adds the whole command line to `app`, see RunDesk.
void AddCommandLine(CLI::App& app, DeskContext& context);
/// What to say about the desk's commands, those for keys and accounts included.
std::vector<CommandHelp> DeskHelp();

void AddSettingsCommands(CLI::App& app, DeskContext& context);
void AddOpenCommand(CLI::App& app, DeskContext& context);
void AddListCommand(CLI::App& app, DeskContext& context);
void AddSendCommand(CLI::App& app, DeskContext& context);
void AddResponseCommands(CLI::App& app, DeskContext& context);
void AddShellCommand(CLI::App& app, DeskContext& context);

/// The options of every command that works on messages.
struct MessageOptions {
  std::string file;
  /// Of the mails of an mbox or folder, from 1; 0 for the only one.
  std::size_t number = 0;
  bool trace = false;
};
void AddFileOption(CLI::App& command, MessageOptions& options);
void AddTraceOption(CLI::App& command, MessageOptions& options);
/// --message: which mail of an mbox or folder.
void AddNumberOption(CLI::App& command, MessageOptions& options);
/// --outlook: the version of Outlook that the desk plays.
void AddOutlookOption(CLI::App& command, int& version);

/// Runs the part of a command that has a message open, then tells of trouble with the key rings. If
/// it fails, --json still gets an object: resultCode, error, the boxes shown so far, and the
/// members of `on_failure`.
Outcome ReportingErrors(DeskContext& context, DeskHost& host, const std::function<Outcome()>& run,
                        const nlohmann::json& on_failure = {});

/// Throws CommandError (wrong use) if the output file is one of the input files: it may be the
/// user's only copy.
void RefuseToReplace(const std::string& out_file, const std::vector<std::string>& input_files);

}  // namespace corvessa::desk
