#pragma once

#include <string>

#include "desk/mail/mail.h"
#include "desk/outlook/outlook_model.h"

namespace corvessa::desk {

class DeskHost;
struct MessageReport;

enum class Response { kReply, kReplyToAll, kForward };

/// Throws Failure (refused) for a message that no draft may quote: armour instead of what was said,
/// or what was forged.
void RefuseToQuote(const MessageReport& report);

/// The new item as Outlook and the add-in make it for the open message, with the text above the
/// quoted one. Throws Failure (refused) when the add-in cancels it.
ItemPtr Respond(DeskHost& host, const ItemPtr& original, Response response,
                const std::string& text);

/// The new item as a mail file of the owner.
mail::Mail DraftOf(const DeskHost& host, const ItemData& item);

}  // namespace corvessa::desk
