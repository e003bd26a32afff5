#include "desk/commands/shell_completion.h"

#include <algorithm>
#include <filesystem>
#include <iomanip>
#include <sstream>
#include <system_error>

#include "base/text.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kBlanks = " \t";

std::string Quote(const std::string& text) {
  std::ostringstream quoted;
  quoted << std::quoted(text);
  return quoted.str();
}

/// The word without its quotation marks, of which the last may be missing.
std::string Unquote(std::string_view word) {
  if (!word.starts_with('"')) return std::string(word);
  std::string text;
  for (std::size_t i = 1; i < word.size() && word[i] != '"'; ++i) {
    if (word[i] == '\\' && i + 1 < word.size()) ++i;
    text += word[i];
  }
  return text;
}

/// Behind the closing quotation mark, or the end of the line.
std::size_t EndOfQuoted(std::string_view line, std::size_t start) {
  for (std::size_t i = start + 1; i < line.size(); ++i) {
    if (line[i] == '\\') {
      ++i;
    } else if (line[i] == '"') {
      return i + 1;
    }
  }
  return line.size();
}

/// Names in the folder of a path that begin as its last part; a folder's ends with a slash.
std::vector<std::string> FindNames(const std::string& folder, std::string_view beginning) {
  std::vector<std::string> names;
  std::error_code failure;
  fs::directory_iterator entry(system::PathOf(folder.empty() ? "." : folder), failure);
  for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
    std::string name = system::PathText(entry->path().filename());
    const bool is_hidden = name.starts_with('.') && !beginning.starts_with('.');
    if (is_hidden || !name.starts_with(beginning) || ForDisplay(name) != name) continue;
    std::error_code ignored;
    if (entry->is_directory(ignored)) name += '/';
    names.push_back(std::move(name));
  }
  std::ranges::sort(names);
  return names;
}

}  // namespace

std::size_t StartOfLastWord(std::string_view line) {
  for (std::size_t end = 0;;) {
    const std::size_t start = std::min(line.find_first_not_of(kBlanks, end), line.size());
    if (start == line.size()) return start;
    end = line[start] == '"' ? EndOfQuoted(line, start)
                             : std::min(line.find_first_of(kBlanks, start), line.size());
    if (end == line.size()) return start;
  }
}

Completion CompleteName(std::string_view typed, const std::vector<std::string>& names) {
  Completion completion{typed.size(), {}};
  for (const std::string& name : names) {
    if (LCase(name).starts_with(LCase(typed))) completion.candidates.push_back({name, name});
  }
  return completion;
}

Completion CompleteFile(std::string_view word) {
  const std::string typed = Unquote(word);
  const std::size_t slash = typed.rfind('/');
  const std::string folder = slash == std::string::npos ? "" : typed.substr(0, slash + 1);
  const std::vector<std::string> names = FindNames(folder, typed.substr(folder.size()));
  const auto needs_quotes = [](const std::string& text) {
    return text.find_first_of(" \t\"") != std::string::npos;
  };
  const bool quotes =
      word.starts_with('"') || needs_quotes(folder) || std::ranges::any_of(names, needs_quotes);
  Completion completion{word.size(), {}};
  for (const std::string& name : names) {
    std::string text = quotes ? Quote(folder + name) : folder + name;
    // The next part of the path is typed before the closing mark.
    if (quotes && name.ends_with('/')) text.pop_back();
    completion.candidates.push_back({std::move(text), name});
  }
  if (names.size() == 1 && !names.front().ends_with('/')) completion.candidates[0].text += ' ';
  return completion;
}

}  // namespace corvessa::desk
