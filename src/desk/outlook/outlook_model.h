#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/outlook/cdo_model.h"
#include "desk/outlook/directory.h"
#include "desk/outlook/item.h"
#include "desk/outlook/redemption_model.h"
#include "desk/outlook/windows.h"
#include "desk/outlook/world.h"

namespace corvessa::desk {

struct OutlookOptions {
  std::string version = "9.0.0.2711";
  /// Needed as soon as an add-in adds or saves attachments.
  PathMapper map_path = {};
  /// Needed for pasted button faces; outlives the model's objects.
  platform::Clipboard* clipboard = nullptr;
  /// The mailbox's owner: the sender of sent items, left out of Reply All.
  Person owner = {};
};

/// Outlook in this process, as far as an add-in can tell: its objects behind the platform
/// interfaces, and beside them what its user does, with the events in Outlook's order. One thread.
/// Whatever an event does - close windows, open others, drop subscriptions - is allowed. What sinks
/// throw goes through to the caller.
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
  /// Sees every platform call and can let it fail; an empty one sees nothing.
  void OnCall(CallHook hook) { world_->on_call = std::move(hook); }
  /// Word is the editor in the windows made from now on.
  void SetWordMail(bool word_mail) { world_->word_mail = word_mail; }

  // Windows.
  /// Opens a folder window: NewExplorer.
  ExplorerWindowPtr AddExplorer();
  /// Close, then it is gone.
  void CloseExplorer(const ExplorerWindowPtr& explorer);
  /// Opens the item's window: NewInspector, the item's Read (saved items only) and Open, the
  /// window's Activate after the Deactivate of the one before it. An open one only comes to the
  /// front. Null when Open was cancelled or the window was closed meanwhile.
  InspectorWindowPtr Open(const ItemPtr& item);
  enum class Closing { kDiscard, kSave };
  /// The item's Close, the window's Deactivate and Close, the next window's Activate. Changes since
  /// the last save go unless they are to be saved; either is done after the item's Close. False
  /// when that was cancelled, the item is being sent, or the window is not open.
  bool Close(const InspectorWindowPtr& window, Closing closing = Closing::kDiscard);
  /// Open inspectors, the active one last.
  const std::vector<InspectorWindowPtr>& Inspectors() const;
  const std::vector<ExplorerWindowPtr>& Explorers() const;

  // Items.
  ItemPtr NewMail();
  /// Stored in its folder (the Inbox unless the data names another one), with an entry ID.
  ItemPtr AddReceived(ItemData data);
  /// An unsent, unsaved item of any class as another program makes one.
  ItemPtr AddItem(ItemData data);
  std::vector<ItemPtr> ItemsIn(std::string_view folder) const;
  /// A content kept in the model's private folder.
  ContentPtr Keep(std::string_view bytes) { return world_->Contents().Keep(bytes); }

  /// ItemSend; when it is not cancelled the item is saved to the Outbox, its window closes (the
  /// item's Close, which cannot be cancelled now), it is delivered as it stood after ItemSend, and
  /// becomes a sent item. Nothing when it was cancelled: the item and its window stay. While it
  /// lasts the window cannot be closed. What delivering throws leaves the item in the Outbox.
  std::optional<ItemData> Send(const ItemPtr& item);
  /// Called with each item that is sent, before it is added to Sent.
  void OnDeliver(std::function<void(const ItemData&)> deliver) { deliver_ = std::move(deliver); }
  const std::vector<ItemData>& Sent() const { return sent_; }

  /// The new item after the original's event and before it is shown (Open does that); null when the
  /// event cancelled it.
  ItemPtr Reply(const ItemPtr& original);
  ItemPtr ReplyAll(const ItemPtr& original);
  ItemPtr Forward(const ItemPtr& original);
  /// The user opens the attachment at a position from 1: AttachmentRead.
  void ReadAttachment(const ItemPtr& item, std::int32_t index);

  /// Clicks the visible button with the caption ("&" marks may be left out); false when there is
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
