#include "desk/commands/text_file.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <system_error>

#include "base/text.h"
#include "desk/failure.h"
#include "posix/io_error.h"

namespace corvessa::desk {

std::string ReadWholeFile(const std::string& path) {
  std::ostringstream content;
  if (path == "-") {
    content << std::cin.rdbuf();
    return content.str();
  }
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  // An empty file gives the stream nothing to take, which is no failure of the file.
  if (file && file.peek() != std::ifstream::traits_type::eof()) content << file.rdbuf();
  if (file.bad() || !file.is_open()) posix::RaiseIoError(path, "cannot be read", errno);
  return content.str();
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
