#include "desk/outlook/redemption_model.h"

#include <utility>

#include "desk/outlook/item.h"

namespace corvessa::desk {
namespace {

constexpr std::int32_t kDisplayName = 0x3001001E;
constexpr std::int32_t kEmailAddress = 0x3003001E;

class DirectoryAddressEntry final : public platform::AddressEntry {
 public:
  DirectoryAddressEntry(WorldPtr world, std::shared_ptr<const DirectoryEntry> entry)
      : world_(std::move(world)), entry_(std::move(entry)) {}

  std::string Name() override {
    Read("AddressEntry.Name");
    return entry_->name;
  }
  std::string Address() override {
    Read("AddressEntry.Address");
    return entry_->address;
  }
  std::string ID() override {
    Read("AddressEntry.ID");
    return entry_->id;
  }
  std::string Fields(std::int32_t tag) override {
    Read("AddressEntry.Fields");
    if (tag == platform::kSmtpAddressTag && !entry_->smtp.empty()) return entry_->smtp;
    if (tag == kDisplayName) return entry_->name;
    if (tag == kEmailAddress) return entry_->address;
    Raise(kMapiNotFound, "MAPI_E_NOT_FOUND");
  }

 private:
  void Read(std::string_view call) const {
    world_->Called(call);
    if (entry_->failure) throw *entry_->failure;
  }

  WorldPtr world_;
  std::shared_ptr<const DirectoryEntry> entry_;
};

class ListEntries final : public platform::AddressEntries {
 public:
  ListEntries(WorldPtr world, std::shared_ptr<const Directory::List> list)
      : world_(std::move(world)), list_(std::move(list)) {}
  std::int32_t Count() override {
    world_->Called("AddressEntries.Count");
    return static_cast<std::int32_t>(list_->size());
  }
  platform::AddressEntryPtr Item(std::int32_t index) override {
    world_->Called("AddressEntries.Item");
    CheckIndex(index, list_->size());
    const auto* entry = &(*list_)[static_cast<std::size_t>(index) - 1];
    return std::make_shared<DirectoryAddressEntry>(
        world_, std::shared_ptr<const DirectoryEntry>(list_, entry));
  }

 private:
  WorldPtr world_;
  std::shared_ptr<const Directory::List> list_;
};

class OneList final : public platform::AddressList {
 public:
  OneList(WorldPtr world, std::shared_ptr<const Directory::List> list)
      : world_(std::move(world)), list_(std::move(list)) {}
  platform::AddressEntriesPtr AddressEntries() override {
    world_->Called("AddressList.AddressEntries");
    return std::make_shared<ListEntries>(world_, list_);
  }

 private:
  WorldPtr world_;
  std::shared_ptr<const Directory::List> list_;
};

class AllLists final : public platform::AddressLists {
 public:
  AllLists(WorldPtr world, DirectoryPtr directory)
      : world_(std::move(world)), directory_(std::move(directory)) {}
  std::int32_t Count() override {
    world_->Called("AddressLists.Count");
    return static_cast<std::int32_t>(directory_->Lists().size());
  }
  platform::AddressListPtr Item(std::int32_t index) override {
    world_->Called("AddressLists.Item");
    CheckIndex(index, directory_->Lists().size());
    return std::make_shared<OneList>(world_,
                                     directory_->Lists()[static_cast<std::size_t>(index) - 1]);
  }

 private:
  WorldPtr world_;
  DirectoryPtr directory_;
};

class DirectoryUtils final : public platform::MAPIUtils {
 public:
  DirectoryUtils(WorldPtr world, DirectoryPtr directory)
      : world_(std::move(world)), directory_(std::move(directory)) {}
  platform::AddressEntryPtr GetAddressEntryFromID(std::string_view id) override {
    world_->Called("MAPIUtils.GetAddressEntryFromID");
    auto entry = directory_->Find(id);
    if (!entry) Raise(kMapiNotFound, "MAPI_E_NOT_FOUND");
    return std::make_shared<DirectoryAddressEntry>(world_, std::move(entry));
  }

 private:
  WorldPtr world_;
  DirectoryPtr directory_;
};

class ItemRecipient final : public platform::Recipient {
 public:
  ItemRecipient(WorldPtr world, RecipientData data)
      : world_(std::move(world)), data_(std::move(data)) {}

  std::string TypeName() override { return Read("Recipient.TypeName", "SafeRecipient"); }
  std::string Name() override {
    return Read("Recipient.Name", ShownName(data_.name, data_.address));
  }
  std::string Address() override { return Read("Recipient.Address", data_.address); }
  std::string EntryID() override { return Read("Recipient.EntryID", data_.entry_id); }
  platform::AddressEntryPtr AddressEntry() override {
    world_->Called("Recipient.AddressEntry");
    const std::string address = data_.entry_address.value_or(data_.address);
    if (address.empty() && !data_.entry_address) return nullptr;
    return std::make_shared<DirectoryAddressEntry>(
        world_, std::make_shared<const DirectoryEntry>(
                    DirectoryEntry{data_.name, address, data_.entry_id}));
  }

 private:
  std::string Read(std::string_view call, std::string value) const {
    world_->Called(call);
    return value;
  }

  WorldPtr world_;
  RecipientData data_;
};

class ItemRecipients final : public platform::Recipients {
 public:
  explicit ItemRecipients(ItemPtr item) : item_(std::move(item)) {}
  std::string TypeName() override {
    item_->Outlook()->Called("Recipients.TypeName");
    return "SafeRecipients";
  }
  std::int32_t Count() override {
    item_->Outlook()->Called("Recipients.Count");
    return static_cast<std::int32_t>(item_->Data().recipients.size());
  }
  platform::RecipientPtr Item(std::int32_t index) override {
    item_->Outlook()->Called("Recipients.Item");
    const auto& recipients = item_->Data().recipients;
    CheckIndex(index, recipients.size());
    return std::make_shared<ItemRecipient>(item_->Outlook(),
                                           recipients[static_cast<std::size_t>(index) - 1]);
  }

 private:
  ItemPtr item_;
};

class SafeItem final : public platform::SafeMailItem {
 public:
  explicit SafeItem(WorldPtr world) : world_(std::move(world)) {}

  void SetItem(const platform::MailItemPtr& item) override {
    world_->Called("SafeMailItem.SetItem");
    item_ = std::dynamic_pointer_cast<desk::Item>(item);
    if (!item_) Raise(kInvalidArgument);
  }
  std::int32_t GetIDsFromNames(std::string_view guid, std::string_view name) override {
    Called("SafeMailItem.GetIDsFromNames");
    return world_->TagOf(guid, name);
  }
  std::string Fields(std::int32_t tag) override {
    Called("SafeMailItem.Fields");
    const auto* name = TextProperty(tag);
    const auto& properties = item_->Data().properties;
    const auto found = name ? properties.find(*name) : properties.end();
    return found == properties.end() ? std::string() : found->second;
  }
  void SetFields(std::int32_t tag, std::string_view value) override {
    Called("SafeMailItem.SetFields");
    const auto* name = TextProperty(tag);
    if (!name) Raise(kInvalidArgument);
    item_->SetProperty(name->first, name->second, value);
  }
  void Save() override {
    Called("SafeMailItem.Save");
    item_->SaveByAddIn();
  }
  std::string SenderName() override {
    Called("SafeMailItem.SenderName");
    return ShownName(item_->Data().sender.name, item_->Data().sender.address);
  }
  std::string BCC() override {
    Called("SafeMailItem.BCC");
    return NamesOf(item_->Data(), RecipientKind::kBcc);
  }
  platform::RecipientsPtr Recipients() override {
    Called("SafeMailItem.Recipients");
    return std::make_shared<ItemRecipients>(item_);
  }

 private:
  void Called(std::string_view call) const {
    world_->Called(call);
    if (!item_) Raise(kObjectNotSet);
  }
  /// Only 8-bit text (type 30) is kept under a name; another type is another property.
  const std::pair<std::string, std::string>* TextProperty(std::int32_t tag) const {
    return (tag & 0xFFFF) == 30 ? world_->NameOf(tag) : nullptr;
  }

  WorldPtr world_;
  ItemPtr item_;
};

}  // namespace

RedemptionModel::RedemptionModel(WorldPtr world, DirectoryPtr directory)
    : world_(std::move(world)), directory_(std::move(directory)) {}

void RedemptionModel::Creating(std::string_view call) const {
  world_->Called(call);
  if (!installed) Raise(kCannotCreateComponent);
}

platform::SafeMailItemPtr RedemptionModel::CreateSafeMailItem() {
  Creating("Redemption.CreateSafeMailItem");
  return std::make_shared<SafeItem>(world_);
}

platform::AddressListsPtr RedemptionModel::CreateAddressLists() {
  Creating("Redemption.CreateAddressLists");
  return std::make_shared<AllLists>(world_, directory_);
}

platform::MAPIUtilsPtr RedemptionModel::CreateMAPIUtils() {
  Creating("Redemption.CreateMAPIUtils");
  return std::make_shared<DirectoryUtils>(world_, directory_);
}

}  // namespace corvessa::desk
