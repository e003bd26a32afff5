#pragma once

#include "desk/outlook/directory.h"
#include "desk/outlook/world.h"
#include "platform/redemption.h"

namespace corvessa::desk {

/// The safe objects over the model's items and address lists. A safe mail item shares its item's
/// data: what it writes the item has at once, and saving it saves the item.
class RedemptionModel final : public platform::Redemption {
 public:
  RedemptionModel(WorldPtr world, DirectoryPtr directory);
  platform::SafeMailItemPtr CreateSafeMailItem() override;
  platform::AddressListsPtr CreateAddressLists() override;
  platform::MAPIUtilsPtr CreateMAPIUtils() override;

  /// False: every creation fails with 429.
  bool installed = true;

 private:
  void Creating(std::string_view call) const;

  WorldPtr world_;
  DirectoryPtr directory_;
};

}  // namespace corvessa::desk
