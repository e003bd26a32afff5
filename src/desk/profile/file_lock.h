#pragma once

#include <filesystem>
#include <optional>

#include "posix/file_descriptor.h"

namespace corvessa::desk {

/// Keeps other processes (and other owners in this one) out while it lives; ends with the process,
/// however that ends. The file itself stays behind, empty.
class FileLock {
 public:
  /// Nothing when somebody else holds it. Throws std::system_error when the file cannot be made.
  static std::optional<FileLock> Try(const std::filesystem::path& path);

 private:
  explicit FileLock(posix::FileDescriptor file) : file_(std::move(file)) {}

  posix::FileDescriptor file_;
};

}  // namespace corvessa::desk
