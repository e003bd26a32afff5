#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <system_error>

#include "base/error.h"

/// What a failure of files.h means: to the logic, which knows the classic error numbers, to the
/// user, who is told in words, and to a host that looks after its disk.
namespace corvessa::system {

class AtomicFile;

/// The number of the Error that stands for a system's error code: 53 or `missing` for what is not
/// there, 70 for what is forbidden, 76 for a path through something that is no folder, else 75.
long ErrorNumberOf(std::error_code code, long missing = kFileNotFound);

/// The disk is full, or a limit on the size of files or on the user's share of it is reached.
bool IsDiskFull(std::error_code code);

/// What failed, for the user: "the disk is full", "Not a regular file" for a folder, FIFO or device
/// in place of a file, else the system's own text.
std::string ReasonText(std::error_code code);

/// Raises the Error of a failed system call on a file that a user has named: "FILE cannot be read:
/// Permission denied."
[[noreturn]] void RaiseIoError(const std::filesystem::path& file, std::string_view problem,
                               std::error_code code);

/// Makes a file that a user has named, whole or not at all; `write` fills and commits it. Raises
/// Error when it cannot be written, or when something other than an ordinary file is in its place,
/// such as a device, which must not be replaced.
void WriteFile(const std::filesystem::path& path,
               const std::function<void(AtomicFile& file)>& write);

/// Throws std::system_error, for the implementations: it also keeps the first failure of the disk.
[[noreturn]] void Throw(std::error_code code);

/// The first failure in this process that only the owner of the disk can mend: it is full or
/// broken. For a host whose inner parts may not say why they failed.
std::error_code DiskFailure();

}  // namespace corvessa::system
