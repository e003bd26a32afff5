#include "desk/documents/command_table.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "desk/settings_store.h"

namespace corvessa::desk::documents {
namespace {

OptionEntry ReadOption(const CLI::Option& option) {
  OptionEntry entry;
  for (const std::string& name : option.get_snames()) entry.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) entry.names.push_back("--" + name);
  if (option.get_expected_max() > 0) entry.argument = option.get_type_name();
  entry.description = option.get_description();
  entry.is_required = option.get_required();
  entry.is_repeated = option.get_expected_max() >= CLI::detail::expected_max_vector_size;
  return entry;
}

CommandEntry ReadCommand(const CLI::App& app, std::vector<std::string> path,
                         const std::vector<CommandHelp>& texts) {
  CommandEntry entry;
  entry.name = app.get_name();
  path.push_back(entry.name);
  entry.path = path;
  entry.description = app.get_description();
  const std::string name = Join({path.begin() + 1, path.end()}, " ");
  const auto help = std::ranges::find(texts, name, &CommandHelp::command);
  if (help != texts.end()) entry.help = *help;
  for (const CLI::Option* option : app.get_options()) entry.options.push_back(ReadOption(*option));
  for (const CLI::App* command : app.get_subcommands({})) {
    entry.commands.push_back(ReadCommand(*command, path, texts));
  }
  return entry;
}

}  // namespace

CommandEntry ReadCommands(const CLI::App& app, const std::vector<CommandHelp>& texts) {
  return ReadCommand(app, {}, texts);
}

Completion CompletionOf(const OptionEntry& option) {
  const std::string& argument = option.argument;
  if (argument == "FILE" || argument == "PATH") return Completion::kFile;
  if (argument == "DIR" || argument == "FOLDER") return Completion::kFolder;
  return CompletionWords(option).empty() ? Completion::kNothing : Completion::kWords;
}

std::vector<std::string> CompletionWords(const OptionEntry& option) {
  std::vector<std::string> words;
  if (option.argument == "SETTING") {
    for (const std::string_view name : SettingsStore::Names()) words.emplace_back(name);
  } else if (option.argument.starts_with("9|")) {
    std::istringstream choices(option.argument);
    for (std::string word; std::getline(choices, word, '|');) words.push_back(word);
  }
  return words;
}

std::string Join(const std::vector<std::string>& words, const std::string& between) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

}  // namespace corvessa::desk::documents
