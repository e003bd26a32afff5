#include <utility>

#include "base/error.h"
#include "desk/outlook/item.h"

namespace corvessa::desk {
namespace {

class ItemAttachment final : public platform::Attachment {
 public:
  ItemAttachment(ItemPtr item, AttachmentDataPtr data)
      : item_(std::move(item)), data_(std::move(data)) {}

  std::string FileName() override {
    Called("Attachment.FileName");
    return data_->file_name;
  }
  std::string DisplayName() override {
    Called("Attachment.DisplayName");
    return data_->display_name;
  }
  void SaveAsFile(std::string_view path) override {
    Called("Attachment.SaveAsFile");
    if (!data_->content) {
      Raise(kNoDataSource,
            "Cannot save the attachment. Cannot add the attachment; no data source was provided.");
    }
    data_->content->WriteTo(item_->Outlook()->MapPath(path));
  }
  std::string ParentTypeName() override {
    Called("Attachment.ParentTypeName");
    return TypeNameOf(item_->Data().item_class);
  }

 private:
  void Called(std::string_view call) const { item_->Outlook()->Called(call); }

  ItemPtr item_;
  AttachmentDataPtr data_;
};

std::string LastComponent(std::string_view path) {
  const auto separator = path.find_last_of("\\/:");
  return std::string(separator == std::string_view::npos ? path : path.substr(separator + 1));
}

class ItemAttachments final : public platform::Attachments {
 public:
  explicit ItemAttachments(ItemPtr item) : item_(std::move(item)) {}

  std::int32_t Count() override {
    Called("Attachments.Count");
    return static_cast<std::int32_t>(item_->Data().attachments.size());
  }
  platform::AttachmentPtr Item(std::int32_t index) override {
    Called("Attachments.Item");
    return MakeAttachment(item_, index);
  }
  void Add(std::string_view path, std::string_view display_name) override {
    Called("Attachments.Add");
    AttachmentData added;
    added.file_name = LastComponent(path);
    added.display_name = display_name.empty() ? added.file_name : display_name;
    added.content = CopyOf(path);
    item_->AddAttachment(std::move(added));
  }
  void Remove(std::int32_t index) override {
    Called("Attachments.Remove");
    CheckIndex(index, item_->Data().attachments.size());
    item_->RemoveAttachment(static_cast<std::size_t>(index) - 1);
  }

 private:
  void Called(std::string_view call) const { item_->Outlook()->Called(call); }

  ContentPtr CopyOf(std::string_view path) const {
    World& world = *item_->Outlook();
    try {
      return world.Contents().CopyOf(world.MapPath(path));
    } catch (const Error& error) {
      if (error.number != kFileNotFound && error.number != kPathNotFound) throw;
      Raise(kNoSuchFile, "Cannot find this file.  Verify the path and file name are correct.");
    }
  }

  ItemPtr item_;
};

}  // namespace

platform::AttachmentPtr MakeAttachment(const ItemPtr& item, std::int32_t index) {
  CheckIndex(index, item->Data().attachments.size());
  return std::make_shared<ItemAttachment>(
      item, item->Data().attachments[static_cast<std::size_t>(index) - 1]);
}

platform::AttachmentsPtr MakeAttachments(const ItemPtr& item) {
  return std::make_shared<ItemAttachments>(item);
}

}  // namespace corvessa::desk
