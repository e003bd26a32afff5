#pragma once

#include <string>
#include <string_view>

#include "message/attachment_node.h"

namespace corvessa {

/// The part of a Windows path behind its last backslash.
std::string_view FileNameOf(std::string_view path);

/// A new, randomly named, private folder below the user's folder for temporary files, with a
/// trailing backslash.
std::string CreatePrivateFolder();

/// Deletes the nodes' files and whatever folders that leaves empty, and empties the collection. A
/// file that is there and cannot be deleted goes to the delete queue. Never fails, and needs no
/// engine.
void DeleteStoredFiles(AttachmentNodes& attachments) noexcept;

}  // namespace corvessa
