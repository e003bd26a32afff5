#pragma once

#include <string>

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

}  // namespace corvessa::desk
