#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "desk/outlook/bars.h"
#include "desk/outlook/item_data.h"
#include "desk/outlook/world.h"
#include "platform/outlook.h"

/// Outlook's items and their windows.
namespace corvessa::desk {

class Item;

/// The window of an item. Once it is closed, every call on it fails.
class InspectorWindow final : public platform::Inspector, public Connected {
 public:
  /// kUnopened: created by an add-in's call, not shown. kOpening: raising its first events.
  /// kClosing: raising the item's Close.
  enum class State { kUnopened, kOpening, kShown, kClosing, kClosed };

  InspectorWindow(WorldPtr world, std::shared_ptr<Item> item);

  desk::Bars& Bars() const { return *bars_; }
  const std::shared_ptr<Item>& ShownItem() const { return item_; }
  const SinkList<platform::InspectorEvents>& Events() const { return sinks_; }
  State CurrentState() const { return state_; }
  void SetState(State state) { state_ = state; }
  void Remove();

  platform::MailItemPtr CurrentItem() override;
  platform::CommandBarsPtr CommandBars() override;
  bool IsWordMail() override;
  platform::Subscription Subscribe(platform::InspectorEvents& sink) override;

 private:
  std::shared_ptr<Item> item_;
  bool word_mail_;
  State state_ = State::kUnopened;
  BarsPtr bars_;
  SinkList<platform::InspectorEvents> sinks_;
};
using InspectorWindowPtr = std::shared_ptr<InspectorWindow>;

/// An Outlook item: the state that its window shows and add-ins change (Data), and the state in the
/// store (Stored). Saving copies the former to the store; closing the window without saving
/// restores the latter.
///
/// An item is either plain text (no HTML body) or HTML with a plain body derived from it. Setting
/// the body, even to the same text, makes the item plain; setting the HTML body derives the plain
/// one (HtmlToText). Each set raises PropertyChange.
class Item final : public platform::MailItem, public std::enable_shared_from_this<Item> {
 public:
  Item(WorldPtr world, ItemData data);

  const ItemData& Data() const { return live_; }
  /// Null for an item that was never saved.
  const ItemData* Stored() const { return stored_ ? &*stored_ : nullptr; }
  /// How many times an add-in has saved it.
  int SavesByAddIn() const { return saves_by_add_in_; }

  // What the user and Outlook itself do.
  void EditBody(std::string_view text);
  void EditHTMLBody(std::string_view html);
  void EditSubject(std::string_view subject);
  void EditRecipients(std::vector<RecipientData> recipients);
  void AddAttachment(AttachmentData attachment);
  void RemoveAttachment(std::size_t position);
  void SetProperty(std::string_view guid, std::string_view name, std::string_view value);
  void MoveTo(std::string_view folder);
  void Save();
  void SaveByAddIn();
  /// Discards what was not saved; an item that was never saved stays as it is.
  void Revert();
  void BecomeSent(const Person& sender);

  const SinkList<platform::MailItemEvents>& Events() const { return sinks_; }
  const WorldPtr& Outlook() const { return world_; }
  /// Its window, shown or not; null when there is none.
  std::shared_ptr<InspectorWindow> Window() const { return window_.lock(); }
  std::shared_ptr<InspectorWindow> WindowOrNew();
  void ForgetWindow() { window_.reset(); }

  std::string TypeName() override;
  std::int32_t Class() override;
  platform::SharedText Body() override;
  void SetBody(std::string_view text) override;
  platform::SharedText HTMLBody() override;
  std::string BodyCharset() override { return live_.body_charset; }
  void SetHTMLBody(std::string_view html) override;
  void SetBodyFormat(std::int32_t format) override;
  std::string Subject() override;
  void SetSubject(std::string_view subject) override;
  std::string EntryID() override;
  std::string ReceivedTime() override;
  std::string ParentName() override;
  platform::InspectorPtr GetInspector() override;
  platform::AttachmentsPtr Attachments() override;
  platform::SharedText Source() override;
  platform::Subscription Subscribe(platform::MailItemEvents& sink) override;

 private:
  void CheckIsMail() const;
  void Changed(std::string_view property);

  WorldPtr world_;
  ItemData live_;
  std::optional<ItemData> stored_;
  int saves_by_add_in_ = 0;
  std::weak_ptr<InspectorWindow> window_;
  SinkList<platform::MailItemEvents> sinks_;
};
using ItemPtr = std::shared_ptr<Item>;

/// The attachment at a position from 1, as it is now. Throws Error for a wrong position.
platform::AttachmentPtr MakeAttachment(const ItemPtr& item, std::int32_t index);
/// The item's attachments, live.
platform::AttachmentsPtr MakeAttachments(const ItemPtr& item);

}  // namespace corvessa::desk
