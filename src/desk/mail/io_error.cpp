#include "desk/mail/io_error.h"

#include <cerrno>
#include <string>
#include <system_error>

#include "base/error.h"

namespace corvessa::desk::mail {

namespace {

long ErrorNumber(int error_code) {
  switch (error_code) {
    case ENOENT:
      return kFileNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
      return kPermissionDenied;
    case ENOTDIR:
      return kPathNotFound;
    default:
      return kPathFileAccess;
  }
}

std::string Cause(int error_code) {
  if (error_code == ENOSPC || error_code == EDQUOT) return "the disk is full";
  return std::generic_category().message(error_code);
}

}  // namespace

void RaiseIoError(const std::filesystem::path& file, std::string_view problem, int error_code) {
  Raise(ErrorNumber(error_code),
        file.string() + " " + std::string(problem) + ": " + Cause(error_code) + ".");
}

}  // namespace corvessa::desk::mail
