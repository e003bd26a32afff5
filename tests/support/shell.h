#pragma once

#include <filesystem>
#include <string>

/// The shell of the Linux machine that every test runs on, be it under Wine.
namespace corvessa::testing {

/// Waits for the command and returns its exit code.
int RunShell(const std::string& command);

/// A file's path as the shell knows it.
std::string ShellPath(const std::filesystem::path& path);

}  // namespace corvessa::testing
