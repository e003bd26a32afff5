#pragma once

#include <string_view>

#include "platform/command_bars.h"
#include "platform/outlook.h"
#include "platform/redemption.h"

namespace corvessa {

/// A safe mail item over the item. Throws what making one throws.
platform::SafeMailItemPtr OpenSafely(const platform::MailItemPtr& item);

/// The bar of that name in the item's inspector; null when it shows none.
platform::CommandBarPtr FindBar(platform::MailItem& item, std::string_view name);

}  // namespace corvessa
