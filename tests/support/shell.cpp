#include "support/shell.h"

#include <cstdlib>

namespace corvessa::testing {

int RunShell(const std::string& command) {
  return std::system(command.c_str());
}

std::string ShellPath(const std::filesystem::path& path) {
  return path.string();
}

}  // namespace corvessa::testing
