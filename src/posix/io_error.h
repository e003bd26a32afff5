#pragma once

#include <filesystem>
#include <functional>
#include <string_view>

namespace corvessa::posix {

class AtomicFile;

// For files that a user has named, unlike the rest of this room, whose callers know better what a
// failure means.

/// Raises the Error of a failed system call: "FILE cannot be read: Permission denied." A full disk
/// is called just that.
[[noreturn]] void RaiseIoError(const std::filesystem::path& file, std::string_view problem,
                               int error_code);

/// Makes a file that appears whole or not at all; `write` fills and commits it. Raises Error when
/// the file cannot be made or written, or when there is something else than a file in its place.
void WriteFile(const std::filesystem::path& path,
               const std::function<void(AtomicFile& file)>& write);

}  // namespace corvessa::posix
