#pragma once

#include <string_view>

#include "desk/mail/mail.h"
#include "desk/outlook/item_data.h"

namespace corvessa::desk {

/// The field that marks a draft which quotes what was encrypted, whatever the add-in was called
/// when it was written: its brand is in the name.
bool IsReplyField(std::string_view name);

/// A mail file as Outlook holds it once it has been received. Attachments are read from the mail
/// when they are needed. A mail that names no author is from "(unknown sender)": an item without a
/// sender is one that is being composed.
ItemData ReceivedItem(const mail::Mail& source);

/// A mail file as Outlook holds it while it is composed.
ItemData DraftItem(const mail::Mail& source);

/// The item as a mail, in place of what `base` has of all that an item holds. The rest (author,
/// reply-to, further fields) is the base's.
mail::Mail MailOf(const ItemData& item, mail::Mail base);

/// How the item's author is named: name and address, or what there is.
std::string Shown(const Person& person);

}  // namespace corvessa::desk
