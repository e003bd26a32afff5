#pragma once

#include <filesystem>
#include <optional>

#include "desk/profile/posix_file.h"

namespace corvessa::desk {

/// Keeps other processes (and other owners in this one) out while it lives; ends with the process,
/// however that ends. The file itself stays behind, empty.
class FileLock {
 public:
  /// Nothing when somebody else holds it. Throws std::system_error when the file cannot be made.
  static std::optional<FileLock> Try(const std::filesystem::path& path);

 private:
  explicit FileLock(FileDescriptor file) : file_(std::move(file)) {}

  FileDescriptor file_;
};

}  // namespace corvessa::desk
