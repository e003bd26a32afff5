#pragma once

#include <string>

namespace CLI {
class App;
}

namespace corvessa::desk {

/// What the commands that work on one message share.
struct MessageOptions {
  std::string file;
  bool json = false;
  bool trace = false;
};

void AddMessageOptions(CLI::App& command, MessageOptions& options);

}  // namespace corvessa::desk
