#pragma once

#include <string_view>

#include "desk/mail/mail.h"
#include "desk/outlook/item_data.h"

/// Between mail files and Outlook items.
namespace corvessa::desk {

/// The field that marks a draft which quotes encrypted text. Its name contains the add-in's brand,
/// which may have been another one when the draft was written.
bool IsReplyField(std::string_view name);

/// A mail as a received item. Attachments are read from the mail's file on demand. A mail without
/// an author is from "(unknown sender)", because an item without a sender is one being composed.
ItemData ReceivedItem(const mail::Mail& source);

/// A mail as an item being composed.
ItemData DraftItem(const mail::Mail& source);

/// The item as a mail. What an item does not hold (author, reply-to, further fields) comes from
/// `base`.
mail::Mail MailOf(const ItemData& item, mail::Mail base);

/// Name and address, or whichever is there.
std::string Shown(const Person& person);

}  // namespace corvessa::desk
