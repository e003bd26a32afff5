#include <functional>
#include <sstream>

#include "base/text.h"
#include "desk/documents/command_table.h"

namespace corvessa::desk::documents {
namespace {

/// The function's name and the key of a command in the scripts: "key generate"; empty for the
/// program.
std::string KeyOf(const CommandEntry& command) {
  return Join({command.path.begin() + 1, command.path.end()}, " ");
}

void ForEachCommand(const CommandEntry& command,
                    const std::function<void(const CommandEntry&)>& visit) {
  visit(command);
  for (const CommandEntry& each : command.commands) ForEachCommand(each, visit);
}

/// The options with an argument, as patterns of "<command> <option>"; those of the program may
/// stand behind any command.
std::vector<std::string> BashPatterns(const CommandEntry& command, const OptionEntry& option) {
  std::vector<std::string> patterns;
  const std::string key = KeyOf(command);
  const std::string before = key.empty() ? "*\" " : "\" " + key + " ";
  for (const std::string& name : option.names) patterns.push_back(before + name + "\"");
  return patterns;
}

std::string BashReply(const OptionEntry& option) {
  switch (CompletionOf(option)) {
    case Completion::kFile:
      return "_corvessa_desk_files -f";
    case Completion::kFolder:
      return "_corvessa_desk_files -d";
    case Completion::kWords:
      return "_corvessa_desk_words " + Join(CompletionWords(option), " ");
    default:
      return ":";
  }
}

void WriteBashArguments(std::ostream& out, const CommandEntry& program) {
  out << "  case \"$command $previous\" in\n";
  ForEachCommand(program, [&](const CommandEntry& command) {
    for (const OptionEntry& option : command.options) {
      if (option.argument.empty() || option.IsPositional()) continue;
      out << "    " << Join(BashPatterns(command, option), " | ") << ") " << BashReply(option)
          << "; return ;;\n";
    }
  });
  out << "    *\" =\") _corvessa_desk_files -f; return ;;\n  esac\n";
}

std::vector<std::string> OptionNames(const CommandEntry& command) {
  std::vector<std::string> names;
  for (const OptionEntry& option : command.options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return names;
}

/// What can stand at a place without an option before it: a command or a positional argument.
std::string BashPositional(const CommandEntry& command) {
  std::vector<std::string> names;
  for (const CommandEntry& each : command.commands) names.push_back(each.name);
  if (!names.empty()) return "_corvessa_desk_words " + Join(names, " ");
  for (const OptionEntry& option : command.options) {
    if (option.IsPositional()) return BashReply(option);
  }
  return ":";
}

std::string QuoteForShell(const std::string& text) {
  return "'" + Replace(text, "'", "'\\''") + "'";
}

std::string ZshFunction(const CommandEntry& command) {
  return "_" + Join(command.path, "_");
}

std::string ZshAction(const OptionEntry& option) {
  switch (CompletionOf(option)) {
    case Completion::kFile:
      return "_files";
    case Completion::kFolder:
      return "_files -/";
    case Completion::kWords:
      return "(" + Join(CompletionWords(option), " ") + ")";
    default:
      // A passphrase file follows the address.
      return option.argument.ends_with("=FILE") ? "_corvessa-desk_file_of" : "";
  }
}

/// Text within an argument of _arguments, where brackets and colons mean something.
std::string ZshText(std::string text) {
  for (const char* special : {"\\", "[", "]", ":"}) {
    text = Replace(text, special, std::string("\\") + special);
  }
  return text;
}

std::vector<std::string> ZshSpecs(const OptionEntry& option) {
  const std::string argument =
      option.argument.empty() ? "" : ":" + ZshText(option.argument) + ":" + ZshAction(option);
  if (option.IsPositional()) {
    return {std::string(option.is_repeated ? "*" : option.is_required ? "" : ":") + argument};
  }
  std::vector<std::string> specs;
  for (const std::string& name : option.names) {
    specs.push_back((option.is_repeated ? "*" : "") + name + "[" + ZshText(option.description) +
                    "]" + argument);
  }
  return specs;
}

void WriteZshFunction(std::ostream& out, const CommandEntry& program, const CommandEntry& command) {
  out << ZshFunction(command) << "() {\n  _arguments -C -s";
  const auto write = [&](const CommandEntry& from, bool positional) {
    for (const OptionEntry& option : from.options) {
      if (option.IsPositional() != positional) continue;
      for (const std::string& spec : ZshSpecs(option)) {
        if (&from != &command && (spec.starts_with("-h") || spec.starts_with("--help") ||
                                  spec.starts_with("--version"))) {
          continue;
        }
        out << " \\\n    " << QuoteForShell(spec);
      }
    }
  };
  write(command, false);
  if (&program != &command) write(program, false);
  if (command.commands.empty()) {
    write(command, true);
    out << "\n}\n\n";
    return;
  }
  out << " \\\n    '1:command:->command' '*::argument:->argument' && return\n"
      << "  case $state in\n    command)\n      local -a commands=(\n";
  for (const CommandEntry& each : command.commands) {
    out << "        " << QuoteForShell(each.name + ":" + Replace(each.description, ":", "\\:"))
        << "\n";
  }
  out << "      )\n      _describe command commands ;;\n    argument)\n      case $words[1] in\n";
  for (const CommandEntry& each : command.commands) {
    out << "        " << each.name << ") " << ZshFunction(each) << " ;;\n";
  }
  out << "      esac ;;\n  esac\n}\n\n";
}

void WriteFishOption(std::ostream& out, const std::string& condition, const OptionEntry& option) {
  out << "complete -c corvessa-desk" << condition;
  for (const std::string& name : option.names) {
    const bool is_long = name.starts_with("--");
    out << (is_long ? " -l " : " -s ") << name.substr(is_long ? 2 : 1);
  }
  if (!option.argument.empty() && !option.IsPositional()) out << " -r";
  switch (CompletionOf(option)) {
    case Completion::kFile:
      out << " -F";
      break;
    case Completion::kFolder:
      out << " -a '(__fish_complete_directories)'";
      break;
    case Completion::kWords:
      out << " -a " << QuoteForShell(Join(CompletionWords(option), " "));
      break;
    default:
      if (option.argument.ends_with("=FILE")) out << " -F";
      break;
  }
  out << " -d " << QuoteForShell(option.description) << "\n";
}

void WriteFishCommand(std::ostream& out, const CommandEntry& command) {
  const std::string key = KeyOf(command);
  const std::string here = " -n '__corvessa_desk_at \"" + key + "\"'";
  for (const CommandEntry& each : command.commands) {
    out << "complete -c corvessa-desk" << here << " -a " << each.name << " -d "
        << QuoteForShell(each.description) << "\n";
  }
  for (const OptionEntry& option : command.options) {
    // The program's own options may stand behind every command.
    const std::string& name = option.names.empty() ? option.argument : option.names.back();
    const bool everywhere = key.empty() && name != "--help" && name != "--version";
    WriteFishOption(out, everywhere ? "" : here, option);
  }
}

}  // namespace

std::string BashCompletion(const CommandEntry& program) {
  std::ostringstream out;
  std::vector<std::string> commands;
  std::vector<std::string> with_argument;
  ForEachCommand(program, [&](const CommandEntry& command) {
    if (&command != &program) commands.push_back("\" " + KeyOf(command) + "\"");
    for (const OptionEntry& option : command.options) {
      if (option.argument.empty()) continue;
      for (const std::string& name : option.names) with_argument.push_back("*\" " + name + "\"");
    }
  });
  out << "# bash completion for " << program.name << R"(

_corvessa_desk_files() {
  compopt -o filenames
  mapfile -t COMPREPLY < <(compgen "$1" -- "$current")
}

_corvessa_desk_words() {
  mapfile -t COMPREPLY < <(compgen -W "$*" -- "$current")
}

_corvessa_desk() {
  local current="${COMP_WORDS[COMP_CWORD]}" previous="${COMP_WORDS[COMP_CWORD - 1]}" command= word skip=
  COMPREPLY=()
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [ -n "$skip" ]; then
      skip=
      continue
    fi
    case "$command $word" in
      )"
      << Join(with_argument, " | ") << ") skip=yes ;;\n      " << Join(commands, " | ")
      << R"() command="$command $word" ;;
    esac
  done
  # Bash takes "=" for a word of its own.
  if [ "$current" = = ]; then
    previous== current=
  fi
)";
  WriteBashArguments(out, program);
  const std::string everywhere = Join(OptionNames(program), " ");
  out << "  case \"$command\" in\n";
  ForEachCommand(program, [&](const CommandEntry& command) {
    std::string options = Join(OptionNames(command), " ");
    if (&command != &program) {
      for (const OptionEntry& option : program.options) {
        if (option.names.back() != "--help" && option.names.back() != "--version") {
          options += " " + Join(option.names, " ");
        }
      }
    }
    out << "    \"" << (&command == &program ? "" : " " + KeyOf(command))
        << "\")\n      case \"$current\" in\n        -*) _corvessa_desk_words " << options
        << " ;;\n        *) " << BashPositional(command) << " ;;\n      esac ;;\n";
  });
  out << "  esac\n}\n\ncomplete -F _corvessa_desk " << program.name << "\n";
  return out.str();
}

std::string ZshCompletion(const CommandEntry& program) {
  std::ostringstream out;
  out << "#compdef " << program.name << R"(

_corvessa-desk_file_of() {
  if compset -P '*='; then
    _files
  fi
}

)";
  ForEachCommand(program,
                 [&](const CommandEntry& command) { WriteZshFunction(out, program, command); });
  out << ZshFunction(program) << " \"$@\"\n";
  return out.str();
}

std::string FishCompletion(const CommandEntry& program) {
  std::ostringstream out;
  std::vector<std::string> keys;
  std::vector<std::string> with_argument;
  ForEachCommand(program, [&](const CommandEntry& command) {
    if (&command != &program) keys.push_back(QuoteForShell(KeyOf(command)));
    for (const OptionEntry& option : command.options) {
      if (option.argument.empty()) continue;
      with_argument.insert(with_argument.end(), option.names.begin(), option.names.end());
    }
  });
  out << "# fish completion for " << program.name << R"(

# Whether the command typed so far is this one.
function __corvessa_desk_at
    set -l command
    set -l skip no
    for word in (commandline -opc)[2..-1]
        if test $skip = yes
            set skip no
        else if contains -- $word )"
      << Join(with_argument, " ") << R"(
            set skip yes
        else if contains -- (string join ' ' $command $word) )"
      << Join(keys, " ") << R"(
            set -a command $word
        end
    end
    test "$command" = "$argv[1]"
end

complete -c corvessa-desk -f
)";
  ForEachCommand(program, [&](const CommandEntry& command) { WriteFishCommand(out, command); });
  return out.str();
}

}  // namespace corvessa::desk::documents
