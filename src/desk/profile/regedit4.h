#pragma once

#include <string>
#include <string_view>

#include "desk/profile/registry_tree.h"

namespace corvessa::desk {

/// Reads the text format that registry editors import and export, "REGEDIT4", as UTF-8: keys in
/// brackets, strings, dword:, hex: and hex(n): with continuation lines, "@", deletions, comments,
/// any line ends. The result's keys are the roots (HKEY_CURRENT_USER and the like). Throws Error
/// 75, which names the line, for anything else. A string that holds a line break has to stand as
/// hex(1):.
RegistryNodePtr ParseRegedit4(std::string_view text);

/// The whole tree in that format, each key with a section of its own, CR LF line ends. What was
/// parsed from it comes back equal; comments and deletions do not.
std::string FormatRegedit4(const RegistryNode& roots);

}  // namespace corvessa::desk
