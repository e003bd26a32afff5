#include "desk/outlook/mapi_model.h"

#include <utility>

#include "desk/outlook/item.h"

namespace corvessa::desk {
namespace {

constexpr std::int32_t kDisplayName = 0x3001001E;
constexpr std::int32_t kEmailAddress = 0x3003001E;

class DirectoryAddressEntry final : public platform::AddressEntry {
 public:
  explicit DirectoryAddressEntry(std::shared_ptr<const DirectoryEntry> entry)
      : entry_(std::move(entry)) {}

  std::string Name() override { return Readable().name; }
  std::string Address() override { return Readable().address; }
  std::string ID() override { return Readable().id; }
  std::string Fields(std::int32_t tag) override {
    const DirectoryEntry& entry = Readable();
    if (tag == platform::kSmtpAddressTag && !entry.smtp.empty()) return entry.smtp;
    if (tag == kDisplayName) return entry.name;
    if (tag == kEmailAddress) return entry.address;
    Raise(kMapiNotFound, "MAPI_E_NOT_FOUND");
  }

 private:
  const DirectoryEntry& Readable() const {
    if (entry_->failure) throw *entry_->failure;
    return *entry_;
  }

  std::shared_ptr<const DirectoryEntry> entry_;
};

using ListPtr = std::shared_ptr<const Directory::List>;

class ListEntries final : public platform::AddressEntries {
 public:
  explicit ListEntries(ListPtr list) : list_(std::move(list)) {}
  std::int32_t Count() override { return static_cast<std::int32_t>(list_->size()); }
  platform::AddressEntryPtr Item(std::int32_t index) override {
    CheckIndex(index, list_->size());
    const auto* entry = &(*list_)[static_cast<std::size_t>(index) - 1];
    return std::make_shared<DirectoryAddressEntry>(
        std::shared_ptr<const DirectoryEntry>(list_, entry));
  }

 private:
  ListPtr list_;
};

class DirectoryList final : public platform::AddressList {
 public:
  explicit DirectoryList(ListPtr list) : list_(std::move(list)) {}
  platform::AddressEntriesPtr AddressEntries() override {
    return std::make_shared<ListEntries>(list_);
  }

 private:
  ListPtr list_;
};

class DirectoryLists final : public platform::AddressLists {
 public:
  explicit DirectoryLists(DirectoryPtr directory) : directory_(std::move(directory)) {}
  std::int32_t Count() override { return static_cast<std::int32_t>(directory_->Lists().size()); }
  platform::AddressListPtr Item(std::int32_t index) override {
    CheckIndex(index, directory_->Lists().size());
    return std::make_shared<DirectoryList>(
        directory_->Lists()[static_cast<std::size_t>(index) - 1]);
  }

 private:
  DirectoryPtr directory_;
};

class DirectoryUtils final : public platform::MAPIUtils {
 public:
  explicit DirectoryUtils(DirectoryPtr directory) : directory_(std::move(directory)) {}
  platform::AddressEntryPtr GetAddressEntryFromID(std::string_view id) override {
    auto entry = directory_->Find(id);
    if (!entry) Raise(kMapiNotFound, "MAPI_E_NOT_FOUND");
    return std::make_shared<DirectoryAddressEntry>(std::move(entry));
  }

 private:
  DirectoryPtr directory_;
};

class ItemRecipient final : public platform::Recipient {
 public:
  explicit ItemRecipient(RecipientData data) : data_(std::move(data)) {}

  std::string TypeName() override { return "SafeRecipient"; }
  std::string Name() override { return ShownName(data_.name, data_.address); }
  std::string Address() override { return data_.address; }
  std::string EntryID() override { return data_.entry_id; }
  platform::AddressEntryPtr AddressEntry() override {
    const std::string address = data_.entry_address.value_or(data_.address);
    if (address.empty() && !data_.entry_address) return nullptr;
    return std::make_shared<DirectoryAddressEntry>(std::make_shared<const DirectoryEntry>(
        DirectoryEntry{data_.name, address, data_.entry_id}));
  }

 private:
  RecipientData data_;
};

class ItemRecipients final : public platform::Recipients {
 public:
  explicit ItemRecipients(ItemPtr item) : item_(std::move(item)) {}
  std::string TypeName() override { return "SafeRecipients"; }
  std::int32_t Count() override {
    return static_cast<std::int32_t>(item_->Data().recipients.size());
  }
  platform::RecipientPtr Item(std::int32_t index) override {
    const auto& recipients = item_->Data().recipients;
    CheckIndex(index, recipients.size());
    return std::make_shared<ItemRecipient>(recipients[static_cast<std::size_t>(index) - 1]);
  }

 private:
  ItemPtr item_;
};

class SafeItem final : public platform::SafeMailItem {
 public:
  explicit SafeItem(WorldPtr world) : world_(std::move(world)) {}

  void SetItem(const platform::MailItemPtr& item) override {
    item_ = std::dynamic_pointer_cast<desk::Item>(item);
    if (!item_) Raise(kInvalidArgument);
  }
  std::int32_t GetIDsFromNames(std::string_view guid, std::string_view name) override {
    RequireItem();
    return world_->TagOf(guid, name);
  }
  std::string Fields(std::int32_t tag) override {
    /// PR_SENT_REPRESENTING_EMAIL_ADDRESS.
    constexpr std::int32_t kFromAddress = 0x0065001E;
    if (tag == kFromAddress) return RequireItem().Data().sender.address;
    const auto& properties = RequireItem().Data().properties;
    const auto* name = TextProperty(tag);
    const auto found = name ? properties.find(*name) : properties.end();
    return found == properties.end() ? std::string() : found->second;
  }
  void SetFields(std::int32_t tag, std::string_view value) override {
    RequireItem();
    const auto* name = TextProperty(tag);
    if (!name) Raise(kInvalidArgument);
    item_->SetProperty(name->first, name->second, value);
  }
  void Save() override { RequireItem().SaveByAddIn(); }
  std::string SenderName() override {
    const Person& sender = RequireItem().Data().sender;
    return ShownName(sender.name, sender.address);
  }
  std::string BCC() override { return NamesOf(RequireItem().Data(), RecipientKind::kBcc); }
  platform::RecipientsPtr Recipients() override {
    RequireItem();
    return std::make_shared<ItemRecipients>(item_);
  }

 private:
  Item& RequireItem() const {
    if (!item_) Raise(kObjectNotSet);
    return *item_;
  }
  /// Named properties are 8-bit text (type 30); a tag of another type is another property.
  const std::pair<std::string, std::string>* TextProperty(std::int32_t tag) const {
    return (tag & 0xFFFF) == 30 ? world_->NameOf(tag) : nullptr;
  }

  WorldPtr world_;
  ItemPtr item_;
};

class Session final : public platform::MAPISession {
 public:
  Session(std::optional<Error> failure, std::shared_ptr<std::vector<CdoModel::LogonCall>> logons)
      : failure_(std::move(failure)), logons_(std::move(logons)) {}

  void Logon(std::string_view profile_name, std::string_view profile_password, bool show_dialog,
             bool new_session, int parent_window) override {
    logons_->push_back({std::string(profile_name), std::string(profile_password), show_dialog,
                        new_session, parent_window});
    if (failure_) throw *failure_;
  }

 private:
  std::optional<Error> failure_;
  std::shared_ptr<std::vector<CdoModel::LogonCall>> logons_;
};

}  // namespace

void Directory::AddList(List entries) {
  const auto list = std::make_shared<const List>(std::move(entries));
  for (const DirectoryEntry& entry : *list) {
    // Shares ownership of the list; the entry is not copied.
    if (!entry.id.empty()) by_id_.try_emplace(entry.id, list, &entry);
  }
  lists_.push_back(list);
}

std::shared_ptr<const DirectoryEntry> Directory::Find(std::string_view id) const {
  const auto found = by_id_.find(std::string(id));
  return found == by_id_.end() ? nullptr : found->second;
}

RedemptionModel::RedemptionModel(WorldPtr world, DirectoryPtr directory)
    : world_(std::move(world)), directory_(std::move(directory)) {}

void RedemptionModel::RequireInstalled() const {
  if (!installed) Raise(kCannotCreateComponent);
}

platform::SafeMailItemPtr RedemptionModel::CreateSafeMailItem() {
  RequireInstalled();
  return std::make_shared<SafeItem>(world_);
}

platform::AddressListsPtr RedemptionModel::CreateAddressLists() {
  RequireInstalled();
  return std::make_shared<DirectoryLists>(directory_);
}

platform::MAPIUtilsPtr RedemptionModel::CreateMAPIUtils() {
  RequireInstalled();
  return std::make_shared<DirectoryUtils>(directory_);
}

platform::MAPISessionPtr CdoModel::CreateSession() {
  if (!installed) Raise(kCannotCreateComponent);
  ++sessions_created_;
  return std::make_shared<Session>(logon_failure, logons_);
}

}  // namespace corvessa::desk
