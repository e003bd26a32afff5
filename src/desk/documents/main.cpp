#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "desk/commands/command.h"
#include "desk/documents/command_table.h"

// Writes the desk's manual pages and shell completions into a folder. The build runs it.

namespace {

using namespace corvessa::desk;

void Write(const std::filesystem::path& file, const std::string& content) {
  std::ofstream out(file, std::ios::binary);
  out << content;
  if (!out.flush()) throw std::runtime_error("cannot write " + file.string());
}

void WriteAll(const std::filesystem::path& folder, const std::string& date) {
  Answers answers;
  auto terminal = Terminal::Standard();
  DeskContext context(std::cout, std::cerr, terminal, answers);
  CLI::App app;
  AddCommandLine(app, context);
  const auto program = documents::ReadCommands(app, DeskHelp());
  const auto write_page = [&](const documents::CommandEntry& command) {
    Write(folder / (documents::Join(command.path, "-") + ".1"),
          documents::ManPage(program, command, CORVESSA_VERSION, date));
  };
  write_page(program);
  for (const auto& command : program.commands) write_page(command);
  Write(folder / program.name, documents::BashCompletion(program));
  Write(folder / ("_" + program.name), documents::ZshCompletion(program));
  Write(folder / (program.name + ".fish"), documents::FishCompletion(program));
}

}  // namespace

int main(int argument_count, char** arguments) {
  try {
    if (argument_count != 3) throw std::runtime_error("usage: corvessa-desk-documents FOLDER DATE");
    WriteAll(arguments[1], arguments[2]);
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
  }
  return 0;
}
