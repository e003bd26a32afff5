#include "posix/io_error.h"

#include <cerrno>
#include <string>
#include <system_error>

#include "base/error.h"
#include "posix/atomic_file.h"
#include "posix/error_number.h"

namespace corvessa::posix {
namespace {

std::string Cause(int error_code) {
  if (error_code == ENOSPC || error_code == EDQUOT) return "the disk is full";
  return std::generic_category().message(error_code);
}

}  // namespace

void RaiseIoError(const std::filesystem::path& file, std::string_view problem, int error_code) {
  Raise(ErrorNumberOf(error_code),
        file.string() + " " + std::string(problem) + ": " + Cause(error_code) + ".");
}

void WriteFile(const std::filesystem::path& path,
               const std::function<void(AtomicFile& file)>& write) {
  // A device or a pipe would be replaced by a file, to the surprise of whoever named it.
  std::error_code ignored;
  const auto status = std::filesystem::status(path, ignored);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    Raise(kPathFileAccess, path.string() + " is there already and is no file.");
  }
  try {
    AtomicFile file(path);
    write(file);
  } catch (const std::system_error& error) {
    RaiseIoError(path, "cannot be written", error.code().value());
  }
}

}  // namespace corvessa::posix
