#pragma once

#include <filesystem>
#include <string_view>

namespace corvessa::desk {

// What this program calls its temporary things, beside the add-in's private folders: fresh files
// (a number stands between) and the folder to which attachments are saved.
inline constexpr std::string_view kFreshFilePrefix = "~";
inline constexpr std::string_view kFreshFileSuffix = ".tmp";
inline constexpr std::string_view kSavingFolder = "Saving";

/// Removes what an earlier run that was cut short has left in its folder for temporary files. Only
/// names that this program gives go; whatever else is there is somebody's own and stays, and so
/// does what cannot be removed. Throws Error 75 when the folder is a link or cannot be opened: what
/// it points to is not this program's to tidy.
void RemoveLeftovers(const std::filesystem::path& folder);

}  // namespace corvessa::desk
