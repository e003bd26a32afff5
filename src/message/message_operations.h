#pragma once

#include <memory>
#include <string>

#include "message/item_access.h"
#include "platform/outlook.h"

namespace corvessa {

/// Stateless operations on one mail item. Only HasBlindCopies throws; a failure of the others is
/// traced and gives the neutral result.

/// Empty for a message being composed.
std::string GetSenderName(const SafeItem& item);
/// Saves the item and reports whether it has blind-copy recipients. Throws what the item throws: a
/// failure must not pass for "none".
bool HasBlindCopies(const SafeItem& item);
/// Saves the item and returns its recipients; null on failure.
platform::RecipientsPtr GetSafeRecipients(const SafeItem& item);
/// Whether the file names of two attachments differ at most in case.
bool HasDuplicateFilenames(const platform::MailItemPtr& item);
/// Whether the item's window shows the add-in's encryption and signing options.
bool IsOptionsBarPresent(const platform::MailItemPtr& item);

}  // namespace corvessa
