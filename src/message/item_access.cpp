#include "message/item_access.h"

#include <cstdint>
#include <iterator>

#include "platform/host.h"

namespace corvessa {

platform::SafeMailItem& SafeItem::Safe() const {
  if (!safe_item_) {
    auto made = platform::Host().redemption.CreateSafeMailItem();
    made->SetItem(item_);
    safe_item_ = std::move(made);
  }
  return *safe_item_;
}

ListedAttachments::ListedAttachments(platform::Attachments& list, std::int32_t count) {
  for (std::int32_t i = 1; i <= count; ++i) {
    attachments.push_back(list.Item(i));
    file_names.push_back(attachments.back()->FileName());
    display_names.push_back(attachments.back()->DisplayName());
  }
}

const ListedAttachments& SafeItem::Attachments() const {
  const auto list = item_->Attachments();
  const std::int32_t count = list->Count();
  if (!attachments_ || std::ssize(attachments_->attachments) != count) {
    attachments_.emplace(*list, count);
  }
  return *attachments_;
}

ListedAttachments SafeItem::TakeAttachments() const {
  Attachments();
  ListedAttachments taken = std::move(*attachments_);
  attachments_.reset();
  return taken;
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

void MessageBody::PutBack(const platform::MailItemPtr& item) const {
  if (*item->HTMLBody() == *html_ && *item->Body() == *plain_) return;
  // Writing the HTML form also makes the plain one.
  if (HasHTML()) {
    item->SetHTMLBody(*html_);
  } else {
    item->SetBody(*plain_);
  }
}

}  // namespace corvessa
