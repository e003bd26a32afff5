#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "desk/terminal/line_reader.h"

/// What Tab offers in the shell, whose words may be in quotation marks.
namespace corvessa::desk {

/// Where the last word of a line begins; the line's end if a blank follows it.
std::size_t StartOfLastWord(std::string_view line);

/// The names that begin with the typed text in any case.
Completion CompleteName(std::string_view typed, const std::vector<std::string>& names);

/// The files and folders that begin with the typed word. Hidden ones only after a dot; none whose
/// names could steer the terminal.
Completion CompleteFile(std::string_view word);

}  // namespace corvessa::desk
