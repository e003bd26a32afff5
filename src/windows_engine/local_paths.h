#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace corvessa::windows {

/// The file that a path in UTF-8 means.
std::filesystem::path LocalPath(std::string_view path);
/// 0 for a file that cannot be found.
std::uint64_t FileSize(std::string_view path);
/// The path of a file that is not there yet, in the user's folder for temporary files.
std::string NewTemporaryPath();

}  // namespace corvessa::windows
