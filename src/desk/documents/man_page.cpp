#include <sstream>

#include "base/text.h"
#include "desk/documents/command_table.h"

namespace corvessa::desk::documents {
namespace {

/// Text as roff takes it: every hyphen as it can be copied, no line that looks like a request.
std::string Escape(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\') {
      escaped += "\\e";
    } else if (c == '-') {
      escaped += "\\-";
    } else if (c == '~') {
      escaped += "\\(ti";
    } else if (c == '\'') {
      escaped += "\\(aq";
    } else {
      escaped += c;
    }
  }
  return escaped.starts_with('.') ? "\\&" + escaped : escaped;
}

std::string Bold(std::string_view text) {
  return "\\fB" + Escape(text) + "\\fR";
}

std::string Italic(std::string_view text) {
  return "\\fI" + Escape(text) + "\\fR";
}

std::string PageName(const CommandEntry& command) {
  return Join(command.path, "-");
}

std::string Upper(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return text;
}

std::string Signature(const OptionEntry& option) {
  std::string text;
  for (const std::string& name : option.names) text += (text.empty() ? "" : ", ") + Bold(name);
  if (option.argument.empty()) return text;
  return text + (text.empty() ? "" : " ") + Italic(option.argument);
}

/// One page: what is said of a command, and below it of its own commands.
class Page {
 public:
  Page(const CommandEntry& program, const CommandEntry& command)
      : program_(program), command_(command) {}

  std::string Write(const std::string& version, const std::string& date) {
    out_ << ".TH " << Upper(PageName(command_)) << " 1 " << date << " \"" << program_.name << " "
         << version << "\"\n.SH NAME\n"
         << Escape(PageName(command_)) << " \\- " << Escape(command_.description)
         << "\n.SH SYNOPSIS\n";
    WriteSynopsis();
    out_ << ".SH DESCRIPTION\n";
    WriteText(command_.help);
    WriteOptions("SH", command_);
    if (IsProgram()) {
      WriteCommandList();
    } else {
      for (const CommandEntry& command : command_.commands) WriteCommand(command);
      out_ << ".SH GLOBAL OPTIONS\nEvery command also takes the options that\n.BR "
           << Escape(program_.name) << " (1)\nlists.\n";
    }
    WriteExamples("SH", command_);
    WriteSections();
    WriteSeeAlso();
    return out_.str();
  }

 private:
  bool IsProgram() const { return &program_ == &command_; }

  void WriteSynopsis() {
    if (command_.commands.empty()) return WriteCall(command_);
    if (IsProgram()) {
      out_ << Bold(program_.name) << " [options] " << Italic("COMMAND") << " [options] ...\n";
      return;
    }
    for (const CommandEntry& command : command_.commands) {
      WriteCall(command);
      out_ << ".br\n";
    }
  }

  void WriteCall(const CommandEntry& command) {
    out_ << Bold(Join(command.path, " ")) << " [options]";
    for (const OptionEntry& option : command.options) {
      if (!option.IsPositional()) continue;
      const std::string text = Italic(option.argument) + (option.is_repeated ? "..." : "");
      out_ << (option.is_required ? " " + text : " [" + text + "]");
    }
    out_ << "\n";
  }

  void WriteText(const CommandHelp& help) {
    std::istringstream paragraphs{std::string(help.text)};
    for (std::string paragraph; std::getline(paragraphs, paragraph);) {
      out_ << ".PP\n" << Escape(paragraph) << "\n";
    }
  }

  void WriteOptions(const char* heading, const CommandEntry& command) {
    out_ << "." << heading << " OPTIONS\n";
    for (const OptionEntry& option : command.options) {
      out_ << ".TP\n" << Signature(option) << "\n" << Escape(option.description) << "\n";
    }
  }

  void WriteCommandList() {
    out_ << ".SH COMMANDS\n";
    for (const CommandEntry& command : command_.commands) {
      out_ << ".TP\n.BR " << Escape(PageName(command)) << " (1)\n"
           << Escape(command.description) << "\n";
    }
  }

  void WriteCommand(const CommandEntry& command) {
    out_ << ".SH " << Upper(Join(command.path, " ")) << "\n"
         << Bold(command.name) << ": " << Escape(command.description) << ".\n";
    WriteText(command.help);
    WriteOptions("SS", command);
    WriteExamples("SS", command);
  }

  void WriteExamples(const char* heading, const CommandEntry& command) {
    if (command.help.examples.empty()) return;
    out_ << "." << heading << " EXAMPLES\n";
    for (const HelpRow& example : command.help.examples) {
      out_ << ".TP\n"
           << Bold(program_.name + " " + std::string(example.term)) << "\n"
           << Escape(example.meaning) << "\n";
    }
  }

  /// The exit codes are those of every command.
  void WriteSections() {
    for (const HelpSection& section : program_.help.sections) {
      if (!IsProgram() && section.title != "Exit status") continue;
      out_ << ".SH " << Upper(std::string(section.title)) << "\n";
      for (const HelpRow& row : section.rows) {
        out_ << ".TP\n" << Bold(row.term) << "\n" << Escape(row.meaning) << "\n";
      }
    }
  }

  void WriteSeeAlso() {
    out_ << ".SH SEE ALSO\n";
    if (!IsProgram()) out_ << ".BR " << Escape(program_.name) << " (1),\n";
    for (const CommandEntry& command : program_.commands) {
      if (IsProgram() || command.name == command_.name) continue;
      out_ << ".BR " << Escape(PageName(command)) << " (1),\n";
    }
    out_ << ".BR gpg (1)\n";
  }

  const CommandEntry& program_;
  const CommandEntry& command_;
  std::ostringstream out_;
};

}  // namespace

std::string ManPage(const CommandEntry& program, const CommandEntry& command,
                    const std::string& version, const std::string& date) {
  return Page(program, command).Write(version, date);
}

}  // namespace corvessa::desk::documents
