#pragma once

namespace CLI {
class App;
}

namespace corvessa::desk {

struct CommandContext;

// Each adds its commands to the command line.

void AddKeyCommands(CLI::App& app, CommandContext& context);
void AddAccountCommands(CLI::App& app, CommandContext& context);
void AddSettingsCommands(CLI::App& app, CommandContext& context);
void AddOpenCommand(CLI::App& app, CommandContext& context);
void AddSendCommand(CLI::App& app, CommandContext& context);
void AddResponseCommands(CLI::App& app, CommandContext& context);
void AddShellCommand(CLI::App& app, CommandContext& context);

}  // namespace corvessa::desk
