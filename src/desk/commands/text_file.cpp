#include "desk/commands/text_file.h"

#include <cerrno>
#include <fstream>
#include <iostream>
#include <sstream>

#include "desk/mail/io_error.h"

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
  if (file.bad() || !file.is_open()) mail::RaiseIoError(path, "cannot be read", errno);
  return content.str();
}

}  // namespace corvessa::desk
