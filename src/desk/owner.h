#pragma once

#include "desk/mail/mail.h"
#include "desk/outlook/item_data.h"

namespace corvessa::desk {

class SettingsStore;

/// Whose mailbox a received mail lies in: the secured address that it was sent to, else the one
/// that signs, else the first; nobody when there is none.
Person OwnerFor(const mail::Mail& received, const SettingsStore& settings);

/// Who sends a draft: its author, else the secured address that signs or the first. Throws Failure
/// when neither is there.
Person SenderOf(const mail::Mail& draft, const SettingsStore& settings);

}  // namespace corvessa::desk
