#pragma once

#include <string>
#include <string_view>

#include "message/attachment_node.h"

namespace corvessa {

/// What the name of a private folder begins with; a number follows.
inline constexpr std::string_view kPrivateFolderPrefix = "mail";

/// A new, randomly named, private folder below the user's folder for temporary files, with a
/// trailing backslash.
std::string CreatePrivateFolder();

/// The node of the file with that path (compared without case); null when there is none.
AttachmentNodePtr FindByPath(const AttachmentNodes& nodes, std::string_view path);

/// Raises Error 53 when the file of a node is not there.
void RequireFiles(const AttachmentNodes& nodes);

/// Deletes the nodes' files and whatever folders that leaves empty, and empties the collection. A
/// file that is there and cannot be deleted goes to the delete queue. Never fails, and needs no
/// engine.
void DeleteStoredFiles(AttachmentNodes& attachments) noexcept;

}  // namespace corvessa
