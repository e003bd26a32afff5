#pragma once

#include <string>

#include "platform/outlook.h"

namespace corvessa {

namespace platform {
class Recipients;
}

/// Stateless operations on one mail item. Nothing here throws but HasBlindCopies; a failure is
/// traced and gives the neutral result.

/// Empty for a message being composed.
std::string GetSenderName(const platform::MailItemPtr& item);
/// Saves the item and tells whether it has blind-copy recipients.
bool SaveAndCheckBCC(const platform::MailItemPtr& item);
/// The same for whoever must not take a failure for "none": throws what the item throws.
bool HasBlindCopies(const platform::MailItemPtr& item);
/// Saves the item and gives its recipients; null on failure.
std::shared_ptr<platform::Recipients> GetSafeRecipients(const platform::MailItemPtr& item);
/// Two attachments whose file names differ at most in case.
bool HasDuplicateFilenames(const platform::MailItemPtr& item);
/// The item's inspector shows the add-in's encryption and signing options.
bool IsOptionsBarPresent(const platform::MailItemPtr& item);

}  // namespace corvessa
