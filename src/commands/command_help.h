#pragma once

#include <string_view>
#include <vector>

namespace CLI {
class App;
}

/// What there is to say about a command besides its options: the end of --help and the text of the
/// manual pages.
namespace corvessa {

struct HelpRow {
  std::string_view term;
  std::string_view meaning;
};

struct HelpSection {
  std::string_view title;
  std::vector<HelpRow> rows;
};

struct CommandHelp {
  /// As typed after the program's name, such as "key generate"; empty for the program itself.
  std::string_view command;
  /// Paragraphs, each a line.
  std::string_view text;
  /// Command lines without the program's name, and what they do.
  std::vector<HelpRow> examples = {};
  std::vector<HelpSection> sections = {};
};

/// Of the commands that AddKeyCommands and AddAccountCommands add.
std::vector<CommandHelp> KeyAndAccountHelp();

/// Makes --help of every command that `texts` names show its text. Call it after the commands have
/// been added. Throws CLI::OptionNotFound for a text without a command.
void AddHelp(CLI::App& app, const std::vector<CommandHelp>& texts);

}  // namespace corvessa
