#pragma once

#include <filesystem>
#include <string_view>

namespace corvessa::desk::mail {

/// Raises the Error of a failed system call: "FILE cannot be read: Permission denied." A full disk
/// is called just that.
[[noreturn]] void RaiseIoError(const std::filesystem::path& file, std::string_view problem,
                               int error_code);

}  // namespace corvessa::desk::mail
