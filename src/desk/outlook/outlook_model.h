#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/outlook/application.h"
#include "desk/outlook/item.h"
#include "desk/outlook/mapi_model.h"
#include "desk/outlook/world.h"

namespace corvessa::desk {

struct OutlookOptions {
  std::string version = "9.0.0.2711";
  /// Required for adding and saving attachments.
  PathMapper map_path = {};
  /// Required for pasted button faces; must outlive the model's objects.
  platform::Clipboard* clipboard = nullptr;
  /// The owner of the mailbox: the sender of sent items, never a recipient of Reply All.
  Person owner = {};
};

/// Outlook in this process, as far as an add-in can tell: its objects behind the platform
/// interfaces, and the user's actions with their events in Outlook's order. Single-threaded. An
/// event handler may close windows, open others and drop subscriptions. Exceptions from sinks reach
/// the caller.
class OutlookModel {
 public:
  explicit OutlookModel(OutlookOptions options = {});
  ~OutlookModel();
  OutlookModel(const OutlookModel&) = delete;
  OutlookModel& operator=(const OutlookModel&) = delete;

  platform::ApplicationPtr Application() const { return application_; }
  RedemptionModel& Redemption() { return redemption_; }
  CdoModel& Cdo() { return cdo_; }
  Directory& AddressLists() { return *directory_; }
  /// Word is the editor in the windows made from now on.
  void SetWordMail(bool word_mail) { world_->word_mail = word_mail; }

  // Windows.
  /// Opens a folder window: NewExplorer.
  ExplorerWindowPtr AddExplorer();
  /// Raises Close, then disconnects the window.
  void CloseExplorer(const ExplorerWindowPtr& explorer);
  /// Opens the item's window: NewInspector, the item's Read (saved items only) and Open, the
  /// previous window's Deactivate, the window's Activate. A window that is already open comes to
  /// the front. Null when Open was cancelled or a handler closed the window.
  InspectorWindowPtr Open(const ItemPtr& item);
  enum class Closing { kDiscard, kSave };
  /// Raises the item's Close, saves or discards changes, then raises the window's Deactivate and
  /// Close and the next window's Activate. False when the item's Close was cancelled, the item is
  /// being sent, or the window is not open.
  bool Close(const InspectorWindowPtr& window, Closing closing = Closing::kDiscard);
  /// Open inspectors, the active one last.
  const std::vector<InspectorWindowPtr>& Inspectors() const;
  const std::vector<ExplorerWindowPtr>& Explorers() const;

  // Items.
  ItemPtr NewMail();
  /// Stored with an entry ID in the folder that the data names, by default the Inbox.
  ItemPtr AddReceived(ItemData data);
  /// An unsent, unsaved item of any class, as another program creates one.
  ItemPtr AddItem(ItemData data);
  std::vector<ItemPtr> ItemsIn(std::string_view folder) const;
  /// Content in the model's own store.
  ContentPtr Keep(std::string_view bytes) { return world_->Contents().Keep(bytes); }

  /// Raises ItemSend. Unless that is cancelled, the item is saved to the Outbox, its window closes
  /// (the item's Close cannot be cancelled now), it is delivered as it was after ItemSend, and
  /// moves to Sent Items; the result is what was delivered. When cancelled, the item and its window
  /// stay. The window cannot be closed during ItemSend. An exception from delivery leaves the item
  /// in the Outbox.
  std::optional<ItemData> Send(const ItemPtr& item);
  /// Receives each sent item before it is added to Sent.
  void OnDeliver(std::function<void(const ItemData&)> deliver) { deliver_ = std::move(deliver); }
  const std::vector<ItemData>& Sent() const { return sent_; }

  /// Creates the response and raises the original's event; null when that was cancelled. Open shows
  /// the response.
  ItemPtr Reply(const ItemPtr& original);
  ItemPtr ReplyAll(const ItemPtr& original);
  ItemPtr Forward(const ItemPtr& original);
  /// The user opens the attachment at a position from 1: AttachmentRead.
  void ReadAttachment(const ItemPtr& item, std::int32_t index);

  /// Clicks the visible button with the caption, with or without its "&" marks; false when there is
  /// none or it is disabled.
  static bool Click(const Bars& bars, std::string_view caption);

 private:
  using ResponseEvent = void (platform::MailItemEvents::*)(const platform::MailItemPtr&, bool&);

  ItemPtr Respond(const ItemPtr& original, ItemData data, ResponseEvent event);
  void Activate(const InspectorWindowPtr& window);
  void CloseWindow(const InspectorWindowPtr& window);

  WorldPtr world_;
  DirectoryPtr directory_;
  Person owner_;
  std::shared_ptr<OutlookApplication> application_;
  RedemptionModel redemption_;
  CdoModel cdo_;
  std::vector<ItemPtr> items_;
  /// Items whose ItemSend is being raised.
  std::vector<const Item*> sending_;
  std::function<void(const ItemData&)> deliver_;
  std::vector<ItemData> sent_;
};

}  // namespace corvessa::desk
