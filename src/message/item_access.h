#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/command_bars.h"
#include "platform/outlook.h"
#include "platform/redemption.h"

/// The ways to one mail item: the item as Outlook offers it, the safe item over it, which reads
/// what Outlook would ask the user about, and the bars of its window. Everything here throws what
/// the item throws.
namespace corvessa {

/// An item's attachments in its order, as they were when it was made.
struct ListedAttachments {
  ListedAttachments(platform::Attachments& list, std::int32_t count);

  std::vector<platform::AttachmentPtr> attachments;
  std::vector<std::string> file_names;
  std::vector<std::string> display_names;
};

/// An item and the safe item over it. The safe item is another library's object, so it is made when
/// it is first needed and shared by all steps of an operation; after a failure the next step tries
/// again. An item converts to one, for an operation that is a single step.
class SafeItem {
 public:
  template <std::derived_from<platform::MailItem> Item>
  SafeItem(std::shared_ptr<Item> item) : item_(std::move(item)) {}

  const platform::MailItemPtr& Item() const { return item_; }
  platform::MailItem* operator->() const { return item_.get(); }
  platform::SafeMailItem& Safe() const;
  /// Read when they are first needed, and again when their number is another one: a dialog may have
  /// let the user at the item. One that was replaced meanwhile can no longer be saved.
  const ListedAttachments& Attachments() const;
  /// The same; the next call reads them anew.
  ListedAttachments TakeAttachments() const;

 private:
  platform::MailItemPtr item_;
  mutable platform::SafeMailItemPtr safe_item_;
  mutable std::optional<ListedAttachments> attachments_;
};

/// The bar of that name in the item's window; null if it has none.
platform::CommandBarPtr FindBar(platform::MailItem& item, std::string_view name);

/// An item's text in both forms as it was at one moment. Shared with the item, not copied.
class MessageBody {
 public:
  explicit MessageBody(const platform::MailItemPtr& item)
      : plain_(item->Body()), html_(item->HTMLBody()) {}

  bool HasHTML() const { return !html_->empty(); }
  /// Makes the item's text what it was, unless it still is.
  void PutBack(const platform::MailItemPtr& item) const;

 private:
  platform::SharedText plain_;
  platform::SharedText html_;
};

}  // namespace corvessa
