#pragma once

#include <cerrno>

#include "base/error.h"

namespace corvessa::posix {

/// The number of the Error that stands for an errno; `missing` for what is not there.
inline long ErrorNumberOf(int error_code, long missing = kFileNotFound) {
  switch (error_code) {
    case ENOENT:
      return missing;
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

}  // namespace corvessa::posix
