#pragma once

#include <string>
#include <vector>

namespace corvessa::desk {

/// The whole content of a file, or of the standard input for "-". Throws Error with a line for the
/// user.
std::string ReadWholeFile(const std::string& path);

/// Fails (wrong use) when the file to be written is one of those that were read: it may be the only
/// copy of what the user has.
void RefuseToReplace(const std::string& out_file, const std::vector<std::string>& read_files);

}  // namespace corvessa::desk
