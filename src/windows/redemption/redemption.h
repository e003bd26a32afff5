#pragma once

#include "platform/redemption.h"

namespace corvessa::windows {

/// The library as it is installed on this machine. Its safe items take items of WrapItem.
class ComRedemption final : public platform::Redemption {
 public:
  platform::SafeMailItemPtr CreateSafeMailItem() override;
  platform::AddressListsPtr CreateAddressLists() override;
  platform::MAPIUtilsPtr CreateMAPIUtils() override;
};

}  // namespace corvessa::windows
