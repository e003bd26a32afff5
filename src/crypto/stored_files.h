#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "message/attachment_node.h"

/// Attachments as temporary files: each message has a private folder, in which every file has a
/// name that is safe and a place of its own, whatever its sender called it.
namespace corvessa {

/// What the name of a private folder begins with; a number follows.
inline constexpr std::string_view kPrivateFolderPrefix = "mail";

/// A new, randomly named, private folder below the user's folder for temporary files, with a
/// trailing backslash.
std::string CreatePrivateFolder();

/// Where a file is stored inside its message's folder.
struct StoredPlace {
  std::string name;
  /// 0 the message's own folder, else the number that its sub-folder is named by.
  std::int32_t subfolder = 0;
};

/// Writes files of these names and contents into a private folder of their own, a node each. What
/// was written before one fails is deleted again.
AttachmentNodes WriteFiles(const std::vector<std::string>& names,
                           const std::vector<std::string_view>& contents);

/// A node for a file at that place; makes no file.
AttachmentNodePtr MakeNode(const std::string& message_folder, const StoredPlace& place,
                           const std::string& display_name);

/// The node of the file with that path (compared without case); null when there is none.
AttachmentNodePtr FindByPath(const AttachmentNodes& nodes, std::string_view path);

/// The same for many questions about one list, which stays as it is meanwhile.
class NodesByPath {
 public:
  explicit NodesByPath(const AttachmentNodes& nodes);
  AttachmentNodePtr Find(std::string_view path) const;

 private:
  std::unordered_map<std::string, AttachmentNodePtr> nodes_;
};

/// Raises Error 53 when the file of a node is not there.
void RequireFiles(const AttachmentNodes& nodes);

/// Deletes the nodes' files and whatever folders that leaves empty, and empties the collection. A
/// file that is there and cannot be deleted goes to the delete queue. Never fails, and needs no
/// engine.
void DeleteStoredFiles(AttachmentNodes& attachments) noexcept;

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

/// A place for each attachment, in order, no two of them the same: the second file of a name goes
/// into a numbered sub-folder, and so does one that finds its folder full. A detached signature
/// stands beside the data file it belongs to by its true name.
std::vector<StoredPlace> StoredPlaces(const std::vector<std::string>& attachment_names);

/// At least five characters that end in ".sig", in any case.
bool HasSignatureName(std::string_view name);

/// The name without its last four characters: that of the data file. The view lives as long as the
/// name, which must be a signature's.
std::string_view SignedName(std::string_view name);

/// The names or paths mean the same file: they differ in case at most.
bool IsSameFile(std::string_view a, std::string_view b);

}  // namespace corvessa
