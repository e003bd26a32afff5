#pragma once

#include "desk/outlook/item_data.h"

namespace corvessa::desk {

/// The new item of a Reply (or Reply All), as Outlook 2000 makes it from the item as it stands: to
/// the sender or its reply-to addresses (and all other recipients but the owner), "RE: " before the
/// subject instead of an earlier such prefix, the quoted message below an empty line, HTML when the
/// original is HTML, no attachments.
ItemData MakeReply(const ItemData& original, const Person& owner, bool to_all);

/// The new item of a Forward: no recipients, "FW: ", the quoted message and its attachments.
ItemData MakeForward(const ItemData& original);

}  // namespace corvessa::desk
