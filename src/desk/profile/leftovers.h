#pragma once

#include <filesystem>

namespace corvessa::desk {

/// Removes what an earlier run that was cut short has left in its folder for temporary files. Only
/// names that this program gives go; whatever else is there is somebody's own and stays, and so
/// does what cannot be removed. Throws Error 75 when the folder is a link or cannot be opened: what
/// it points to is not this program's to tidy.
void RemoveLeftovers(const std::filesystem::path& folder);

}  // namespace corvessa::desk
