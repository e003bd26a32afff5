#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "commands/command_context.h"

namespace corvessa::desk {

/// The exit code without such a program.
inline constexpr int kProgramNotFound = 127;

/// Runs a program to its end. `arguments` begin with its name, looked for along PATH, or its path;
/// no shell comes between. It reads `input`, or what this process reads without one; its messages
/// go where this process's go. The exit code is 128 and more for a signal. Throws std::system_error
/// if the system cannot do that.
ProgramResult RunProgram(std::vector<std::string> arguments,
                         const std::string_view* input = nullptr);

}  // namespace corvessa::desk
