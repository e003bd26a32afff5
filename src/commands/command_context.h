#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "commands/command_error.h"
#include "commands/output_style.h"
#include "commands/passphrases.h"
#include "commands/user_data.h"

namespace CLI {
class App;
}

/// What the commands of the desk and of the key tool share. Each command adds itself to the command
/// line (Add…Commands) and leaves in the context what to run once the whole command line has been
/// read. A command prints its result to `out`, tells the user about trouble in lines on `messages`,
/// and ends with an Outcome or by throwing CommandError or Error.
namespace corvessa {

struct ProgramResult {
  int exit_code = 0;   ///< as a shell gives it: 127 if there is no such program
  std::string output;  ///< of its standard output
};

/// Nobody reads the output any more: the program ends without a word.
struct ClosedOutput {};

/// A program at work on one command line.
class CommandContext {
 public:
  /// All must outlive it; `program` begins every line to the user.
  CommandContext(std::string_view program_name, std::ostream& result, std::ostream& lines,
                 UserPrompt& secrets, Passphrases& given)
      : program(program_name), out(result), messages(lines), prompt(secrets), passphrases(given) {}
  virtual ~CommandContext() = default;
  CommandContext(const CommandContext&) = delete;
  CommandContext& operator=(const CommandContext&) = delete;

  virtual std::unique_ptr<UserData> OpenUserData() const = 0;
  /// The width of the window that `out` is shown in; kUnlimitedColumns if it is in none.
  virtual int OutputColumns() const = 0;
  /// Whether the reader of `out` has gone, as `head` does, so that there is nobody to tell.
  virtual bool IsOutputClosed() const { return false; }
  /// Throws unless all that was printed so far could be written: ClosedOutput or CommandError.
  void RequireOutput() const;
  /// Writes one line to the user.
  virtual void Tell(std::string_view line) const;
  /// Reports why the command failed. With --json also by an object (resultCode, error and, unless
  /// empty, file), if WriteJson has written none.
  void TellError(const CommandError& error, const std::string& file = {});
  /// Writes the object of --json in a line of printable ASCII. Invalid UTF-8 is replaced.
  void WriteJson(const nlohmann::json& report);
  /// Writes one of several objects, after which that of an error may follow.
  void ListJson(const nlohmann::json& report);
  /// Reads the files that arguments name. Throws Error 5 for a malformed one.
  virtual void ReadArguments();
  /// Tells of arguments that nothing has used: they may be misspelt.
  virtual void TellOfUnused() const {}

  /// Writes why keys may be missing, if anything is wrong with the key rings. Call it after the
  /// engine's work, which brings damage to light.
  void TellKeyTrouble(const std::filesystem::path& keys_folder) const;
  /// The exit code for an outcome. A refusal caused by the disk counts as kEnvironment, and the
  /// user is told: the add-in only reports that something failed.
  Outcome FinalOutcome(Outcome outcome);

  const std::string_view program;
  std::ostream& out;
  std::ostream& messages;
  UserPrompt& prompt;
  Passphrases& passphrases;
  OutputStyle style;

  /// Runs another program to its end: its name and arguments, which no shell reads. Null where the
  /// host does not offer that.
  std::function<ProgramResult(const std::vector<std::string>& arguments)> run_program;
  /// The arguments of --passphrase.
  std::vector<std::string> passphrase_arguments;
  /// --json was given: results are objects, one a line, instead of text.
  bool json = false;
  bool has_written_json = false;
  /// The chosen command.
  std::function<Outcome()> run;

 private:
  bool has_reported_disk_failure_ = false;
};

/// Reads the command line into the context, runs the chosen command and returns the exit code.
int RunProgram(CLI::App& app, CommandContext& context, int argument_count,
               const char* const* arguments);

void AddJsonOption(CLI::App& app, CommandContext& context);
/// --passphrase.
void AddPassphraseOption(CLI::App& app, CommandContext& context);
void AddAddressOption(CLI::App& command, std::string& address);
/// Makes `run` what the context runs when this command is chosen.
void OnRun(CLI::App& command, CommandContext& context, std::function<Outcome()> run);

void AddKeyCommands(CLI::App& app, CommandContext& context);
void AddAccountCommands(CLI::App& app, CommandContext& context);

/// The whole content of a file, or of standard input for "-". Throws Error with a line for the
/// user.
std::string ReadWholeFile(const std::string& path);

}  // namespace corvessa
