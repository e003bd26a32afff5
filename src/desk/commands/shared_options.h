#pragma once

#include <functional>
#include <string>

#include "desk/failure.h"

namespace CLI {
class App;
}

namespace corvessa::desk {

struct CommandContext;

/// What the commands that work on one message share.
struct MessageOptions {
  std::string file;
  bool trace = false;
};

/// --json goes into the context.
void AddMessageOptions(CLI::App& command, CommandContext& context, MessageOptions& options);

/// The address that the command is about.
void AddAddress(CLI::App& command, std::string& address);

/// Which Outlook the desk plays.
void AddOutlookVersion(CLI::App& command, int& version);

/// What the command does when it is the chosen one and the whole command line has been read.
void OnRun(CLI::App& command, CommandContext& context, std::function<Outcome()> run);

}  // namespace corvessa::desk
