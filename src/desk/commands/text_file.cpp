#include "desk/commands/text_file.h"

#include <filesystem>
#include <system_error>
#include <unistd.h>

#include "base/text.h"
#include "desk/failure.h"
#include "posix/file_descriptor.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa::desk {

std::string ReadWholeFile(const std::string& path) {
  try {
    if (path == "-") return posix::ReadAll(STDIN_FILENO);
    return system::File::OpenStream(path).ReadAll();
  } catch (const std::system_error& error) {
    system::RaiseIoError(path, "cannot be read", error.code());
  }
}

void RefuseToReplace(const std::string& out_file, const std::vector<std::string>& read_files) {
  for (const std::string& read : read_files) {
    std::error_code ignored;
    if (!out_file.empty() && std::filesystem::equivalent(out_file, read, ignored)) {
      Fail(Outcome::kWrongUse, ForDisplay(out_file) + " was read; choose another file to write");
    }
  }
}

}  // namespace corvessa::desk
