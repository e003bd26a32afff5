#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <io.h>
#include <iostream>
#include <string>
#include <vector>
#include <windows.h>

#include "commands/command_context.h"
#include "commands/command_help.h"
#include "win32/utf16.h"
#include "windows/key_tool/console.h"
#include "windows/system/registry.h"
#include "windows_engine/engine_setup.h"

// corvessa-key.exe: the user's key rings and secured addresses, on the command line.

namespace {

using namespace corvessa;

constexpr std::string_view kProgram = "corvessa-key";

/// The rings of corvessa_engine.dll and the registry of the add-in.
class WindowsUserData final : public UserData {
 public:
  platform::Registry& Registry() override { return registry_; }
  /// The system does that.
  void SaveRegistry() override {}
  std::filesystem::path KeysFolder() const override {
    return windows::UserEngineConfig().rings_folder;
  }
  std::shared_ptr<engine::OpenPgpEngine> OpenEngine() override {
    auto engine = windows::OpenUserEngine();
    ConfigureKeyServers(*engine, registry_);
    return engine;
  }

 private:
  windows::WindowsRegistry registry_;
};

class KeyToolContext final : public CommandContext {
 public:
  using CommandContext::CommandContext;

  std::unique_ptr<UserData> OpenUserData() const override {
    return std::make_unique<WindowsUserData>();
  }
  int OutputColumns() const override { return windows::Console::OutputColumns(); }
};

int Run(int argument_count, const char* const* arguments) {
  windows::Console console;
  Passphrases passphrases;
  KeyToolContext context(kProgram, std::cout, std::cerr, console, passphrases);
  CLI::App app{"Manages the add-in's keys and secured addresses.", std::string(kProgram)};
  // The same grammar as on other systems; "/" begins a path.
  app.allow_windows_style_options(false);
  app.set_help_flag("-h,--help", "print this help and exit");
  app.set_version_flag("--version", std::string(kProgram) + " " CORVESSA_VERSION,
                       "print the version and exit");
  AddJsonOption(app, context);
  AddPassphraseOption(app, context);
  app.require_subcommand(1);
  app.fallthrough();
  AddKeyCommands(app, context);
  AddAccountCommands(app, context);
  AddHelp(app, KeyAndAccountHelp());
  return RunProgram(app, context, argument_count, arguments);
}

}  // namespace

int wmain(int argument_count, wchar_t** wide_arguments) {
  std::vector<std::string> texts;
  for (int i = 0; i < argument_count; ++i) {
    texts.push_back(win32::ShownUtf8(wide_arguments[i]));
  }
  std::vector<const char*> arguments;
  for (const std::string& text : texts) arguments.push_back(text.c_str());
  // Keys may come and go in files whose bytes must not change; a console shows UTF-8.
  for (const int stream : {0, 1, 2}) _setmode(stream, _O_BINARY);
  SetConsoleOutputCP(CP_UTF8);
  return Run(argument_count, arguments.data());
}
