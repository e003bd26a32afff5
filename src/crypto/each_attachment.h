#pragma once

#include <functional>
#include <string_view>

#include "message/attachment_node.h"

namespace corvessa {

/// Calls `use` for each node and shows its progress step ("Storing attachments (2 of 5)"). Each
/// step lets events run, which may empty the list: then it stops and returns false. Throws Error 6
/// beyond 32,767 nodes, and what `use` throws.
bool ForEachAttachment(const AttachmentNodes& attachments, std::string_view step,
                       const std::function<void(const AttachmentNodePtr&)>& use);

}  // namespace corvessa
