#pragma once

#include <string>
#include <vector>

#include "commands/command_help.h"

namespace CLI {
class App;
}

/// The commands as data, from which the manual pages and the completions are written.
namespace corvessa::desk::documents {

struct OptionEntry {
  /// With their hyphens; none for a positional argument.
  std::vector<std::string> names;
  /// What the argument stands for, such as "FILE"; empty for a switch.
  std::string argument;
  std::string description;
  bool is_required = false;
  bool is_repeated = false;

  bool IsPositional() const { return names.empty(); }
};

struct CommandEntry {
  std::string name;
  /// With the names of the commands above it, the program first.
  std::vector<std::string> path;
  std::string description;
  CommandHelp help;
  std::vector<OptionEntry> options;
  std::vector<CommandEntry> commands;
};

/// Everything that `app` offers.
CommandEntry ReadCommands(const CLI::App& app, const std::vector<CommandHelp>& texts);

/// What a shell can complete for an argument.
enum class Completion { kNothing, kFile, kFolder, kWords };
Completion CompletionOf(const OptionEntry& option);
/// For kWords.
std::vector<std::string> CompletionWords(const OptionEntry& option);

std::string Join(const std::vector<std::string>& words, const std::string& between);

/// A page in the roff language for the program or one of its commands, whose own commands it shows.
/// `date` is the version's: every build writes the same pages.
std::string ManPage(const CommandEntry& program, const CommandEntry& command,
                    const std::string& version, const std::string& date);

std::string BashCompletion(const CommandEntry& program);
std::string ZshCompletion(const CommandEntry& program);
std::string FishCompletion(const CommandEntry& program);

}  // namespace corvessa::desk::documents
