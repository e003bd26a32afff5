#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "desk/outlook/item_data.h"
#include "desk/outlook/sink_list.h"
#include "desk/outlook/world.h"
#include "platform/outlook.h"

namespace corvessa::desk {

class InspectorWindow;

/// An Outlook item: what an open window shows and add-ins change (Data), beside what the store
/// holds (Stored). Saving makes the store hold the former; closing its window without saving puts
/// the item back to the latter.
///
/// The bodies follow Outlook's rule: an item is either plain text (no HTML body) or HTML, whose
/// plain body is derived from it. Setting the body, to the same text too, makes the item plain;
/// setting the HTML body derives the plain one (HtmlToText). Each set raises PropertyChange.
class Item final : public platform::MailItem, public std::enable_shared_from_this<Item> {
 public:
  Item(WorldPtr world, ItemData data);

  const ItemData& Data() const { return live_; }
  /// Null for an item that was never saved.
  const ItemData* Stored() const { return stored_ ? &*stored_ : nullptr; }
  /// How often an add-in saved it.
  int SavesByAddIn() const { return saves_by_add_in_; }

  // What the user and Outlook itself do; none of these is a platform call.
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
  /// What is not saved is lost; an item never saved keeps what it has.
  void Revert();
  void BecomeSent(const Person& sender);

  const SinkList<platform::MailItemEvents>& Events() const { return sinks_; }
  const WorldPtr& Outlook() const { return world_; }
  /// The window made for it, shown or not; null when there is none.
  std::shared_ptr<InspectorWindow> Window() const { return window_.lock(); }
  std::shared_ptr<InspectorWindow> WindowOrNew();
  /// Its window has closed.
  void ForgetWindow() { window_.reset(); }

  std::string TypeName() override;
  std::int32_t Class() override;
  platform::SharedText Body() override;
  void SetBody(std::string_view text) override;
  platform::SharedText HTMLBody() override;
  void SetHTMLBody(std::string_view html) override;
  void SetBodyFormat(std::int32_t format) override;
  std::string Subject() override;
  std::string EntryID() override;
  std::string ReceivedTime() override;
  std::string ParentName() override;
  platform::InspectorPtr GetInspector() override;
  platform::AttachmentsPtr Attachments() override;
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

/// The attachment at a position from 1 as an event hands it out.
platform::AttachmentPtr MakeAttachment(const ItemPtr& item, std::int32_t index);
/// The item's attachments, live.
platform::AttachmentsPtr MakeAttachments(const ItemPtr& item);

}  // namespace corvessa::desk
