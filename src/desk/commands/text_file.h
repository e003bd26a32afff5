#pragma once

#include <string>

namespace corvessa::desk {

/// The whole content of a file, or of the standard input for "-". Throws Error with a line for the
/// user.
std::string ReadWholeFile(const std::string& path);

}  // namespace corvessa::desk
