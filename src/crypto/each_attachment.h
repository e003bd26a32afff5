#pragma once

#include <functional>
#include <string_view>

#include "message/attachment_node.h"

namespace corvessa {

/// Hands over one node after the other, showing the step for each ("Storing attachments (2 of 5)").
/// Events may come in with each step and empty the list: false then, with the rest left out. Throws
/// Error 6 beyond 32,767 nodes and what `use` throws.
bool ForEachAttachment(const AttachmentNodes& attachments, std::string_view step,
                       const std::function<void(const AttachmentNodePtr&)>& use);

}  // namespace corvessa
