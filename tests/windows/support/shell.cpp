#include "support/shell.h"

#include <stdexcept>
#include <stdlib.h>
#include <windows.h>

#include "support/temp_folder.h"

namespace corvessa::testing {
namespace {

// Where the paths of Wine and of the shell are the same but for the drive and the slashes, and
// short enough for the socket of gpg's agent.
const int kTemporaryFolderIsSet = _wputenv(L"TMP=Z:\\tmp");

}  // namespace

std::string ShellPath(const std::filesystem::path& path) {
  return path.generic_string().substr(path.root_name().string().size());
}

/// Wine starts programs of Linux, but does not wait for them.
int RunShell(const std::string& command) {
  const TempFolder folder;
  const std::string base = ShellPath(folder.Path());
  WriteContent(folder / "command", "(" + command + "\n)\necho $? >" + base + "/code.new\nmv " +
                                       base + "/code.new " + base + "/code\n");
  std::wstring line = L"\\\\?\\unix\\bin\\sh " + std::filesystem::path(base + "/command").wstring();
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                      &process)) {
    throw std::runtime_error("cannot start a shell");
  }
  while (!std::filesystem::exists(folder / "code")) Sleep(2);
  return std::stoi(ContentOf(folder / "code"));
}

}  // namespace corvessa::testing
