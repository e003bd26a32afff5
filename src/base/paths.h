#pragma once

#include <string_view>

/// The two halves of a Windows path. The views live as long as the path.
namespace corvessa {

/// The folder part of a path, with its trailing backslash; empty for a bare name.
constexpr std::string_view FolderOf(std::string_view path) {
  return path.substr(0, path.rfind('\\') + 1);
}

/// The part after the last backslash.
constexpr std::string_view FileNameOf(std::string_view path) {
  return path.substr(path.rfind('\\') + 1);
}

}  // namespace corvessa
