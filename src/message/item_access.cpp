#include "message/item_access.h"

#include <cstdint>

#include "platform/host.h"

namespace corvessa {

platform::SafeMailItemPtr OpenSafely(const platform::MailItemPtr& item) {
  auto safe_item = platform::Host().redemption.CreateSafeMailItem();
  safe_item->SetItem(item);
  return safe_item;
}

platform::CommandBarPtr FindBar(platform::MailItem& item, std::string_view name) {
  const auto bars = item.GetInspector()->CommandBars();
  const std::int32_t count = bars->Count();
  for (std::int32_t i = 1; i <= count; ++i) {
    auto bar = bars->Item(i);
    if (bar->Name() == name) return bar;
  }
  return nullptr;
}

}  // namespace corvessa
