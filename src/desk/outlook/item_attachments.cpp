#include <utility>

#include "base/error.h"
#include "desk/outlook/item.h"

namespace corvessa::desk {
namespace {

class ItemAttachment final : public platform::Attachment {
 public:
  ItemAttachment(ItemPtr item, AttachmentDataPtr data)
      : item_(std::move(item)), data_(std::move(data)) {}

  std::string FileName() override { return data_->file_name; }
  std::string DisplayName() override { return data_->display_name; }
  void SaveAsFile(std::string_view path) override {
    if (!data_->content) {
      Raise(kNoDataSource,
            "Cannot save the attachment. Cannot add the attachment; no data source was provided.");
    }
    data_->content->WriteTo(item_->Outlook()->MapPath(path));
  }
  std::string ParentTypeName() override { return TypeNameOf(item_->Data().item_class); }

 private:
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
    return static_cast<std::int32_t>(item_->Data().attachments.size());
  }
  platform::AttachmentPtr Item(std::int32_t index) override { return MakeAttachment(item_, index); }
  void Add(std::string_view path, std::string_view display_name) override {
    AttachmentData added;
    added.file_name = LastComponent(path);
    added.display_name = display_name.empty() ? added.file_name : display_name;
    added.content = CopyOf(path);
    item_->AddAttachment(std::move(added));
  }
  void Remove(std::int32_t index) override {
    CheckIndex(index, item_->Data().attachments.size());
    item_->RemoveAttachment(static_cast<std::size_t>(index) - 1);
  }

 private:
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
