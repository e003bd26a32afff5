#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvessa {

/// The folders that operations make beside the stored files: one for the files as they were before
/// they were decrypted, and numbered ones to work in, this many at most.
inline constexpr std::string_view kOriginalsFolder = "original";
inline constexpr std::string_view kWorkFolderPrefix = "tmp";
inline constexpr int kWorkFolders = 100;

/// The name under which an attachment may be stored as a file, whatever its sender called it: the
/// last component of the name, with everything replaced that could leave the folder or mean more
/// than a file (control characters, streams, device names, trailing dots and blanks) or be taken
/// for a folder beside it, and shortened to what every file system takes, its extension kept. Never
/// empty.
std::string StoredFileName(std::string_view attachment_name);

/// Where a file is stored inside its message's folder.
struct StoredPlace {
  std::string name;
  /// 0 the message's own folder, else the number that its sub-folder is named by.
  std::int32_t subfolder = 0;
};

/// A place for each attachment, in order, no two of them the same: the second file of a name goes
/// into a numbered sub-folder, and so does one that finds its folder full. A detached signature
/// stands beside the data file it belongs to by its true name.
std::vector<StoredPlace> StoredPlaces(const std::vector<std::string>& attachment_names);

}  // namespace corvessa
