#include "windows/redemption/redemption.h"

#include "base/error.h"
#include "windows/com/create.h"
#include "windows/com/variant.h"
#include "windows/outlook/late_bound.h"
#include "windows/outlook/outlook.h"

namespace corvessa::windows {
namespace {

using com::Variant;

constexpr long kMapiNotFound = -2147221233;

bool IsNone(const Variant& value) {
  const VARTYPE type = value.Get().vt;
  return type == VT_EMPTY || type == VT_NULL || type == VT_ERROR;
}

class LateBoundAddressEntry final : public LateBound<platform::AddressEntry> {
 public:
  using LateBound::LateBound;

  std::string Name() override { return Text("Name"); }
  std::string Address() override { return Text("Address"); }
  std::string ID() override { return Text("ID"); }
  std::string Fields(std::int32_t tag) override {
    const Variant value = object_.GetProperty("Fields", {Variant(tag).Get()});
    if (IsNone(value)) Raise(kMapiNotFound, "MAPI_E_NOT_FOUND");
    return value.Text();
  }
};

class LateBoundRecipient final : public LateBound<platform::Recipient> {
 public:
  using LateBound::LateBound;

  std::string TypeName() override { return com::TypeNameOf(*object_.Get()); }
  std::string Name() override { return Text("Name"); }
  std::string Address() override { return Text("Address"); }
  std::string EntryID() override { return Text("EntryID"); }
  platform::AddressEntryPtr AddressEntry() override {
    const DispatchPtr entry = object_.GetProperty("AddressEntry").Object();
    return entry ? std::make_shared<LateBoundAddressEntry>(entry) : nullptr;
  }
};

class LateBoundRecipients final : public LateBound<platform::Recipients> {
 public:
  using LateBound::LateBound;

  std::string TypeName() override { return com::TypeNameOf(*object_.Get()); }
  std::int32_t Count() override { return Number("Count"); }
  platform::RecipientPtr Item(std::int32_t index) override {
    return std::make_shared<LateBoundRecipient>(ItemOf(object_, index));
  }
};

class LateBoundSafeItem final : public LateBound<platform::SafeMailItem> {
 public:
  using LateBound::LateBound;

  void SetItem(const platform::MailItemPtr& item) override { Put("Item", ObjectOf(item).Get()); }
  std::int32_t GetIDsFromNames(std::string_view guid, std::string_view name) override {
    return object_.Call("GetIDsFromNames", {Variant(guid).Get(), Variant(name).Get()}).Number();
  }
  std::string Fields(std::int32_t tag) override {
    try {
      const Variant value = object_.GetProperty("Fields", {Variant(tag).Get()});
      return IsNone(value) ? std::string() : value.Text();
    } catch (const Error& error) {
      if (error.number != kMapiNotFound) throw;
      return {};
    }
  }
  void SetFields(std::int32_t tag, std::string_view value) override {
    object_.PutProperty("Fields", Variant(tag), Variant(value));
  }
  void Save() override { object_.Call("Save"); }
  std::string SenderName() override { return Text("SenderName"); }
  std::string BCC() override { return Text("BCC"); }
  platform::RecipientsPtr Recipients() override {
    return std::make_shared<LateBoundRecipients>(object_.GetObjectProperty("Recipients"));
  }
};

class LateBoundAddressEntries final : public LateBound<platform::AddressEntries> {
 public:
  using LateBound::LateBound;

  std::int32_t Count() override { return Number("Count"); }
  platform::AddressEntryPtr Item(std::int32_t index) override {
    return std::make_shared<LateBoundAddressEntry>(ItemOf(object_, index));
  }
};

class LateBoundAddressList final : public LateBound<platform::AddressList> {
 public:
  using LateBound::LateBound;

  platform::AddressEntriesPtr AddressEntries() override {
    return std::make_shared<LateBoundAddressEntries>(object_.GetObjectProperty("AddressEntries"));
  }
};

class LateBoundAddressLists final : public LateBound<platform::AddressLists> {
 public:
  using LateBound::LateBound;

  std::int32_t Count() override { return Number("Count"); }
  platform::AddressListPtr Item(std::int32_t index) override {
    return std::make_shared<LateBoundAddressList>(ItemOf(object_, index));
  }
};

class LateBoundUtils final : public LateBound<platform::MAPIUtils> {
 public:
  using LateBound::LateBound;

  platform::AddressEntryPtr GetAddressEntryFromID(std::string_view id) override {
    return std::make_shared<LateBoundAddressEntry>(
        object_.Call("GetAddressEntryFromID", {Variant(id).Get()}).Object());
  }
};

template <typename Wrapper>
std::shared_ptr<Wrapper> Create(const wchar_t* prog_id) {
  return std::make_shared<Wrapper>(com::CreateByProgId<IDispatch>(prog_id));
}

}  // namespace

platform::SafeMailItemPtr ComRedemption::CreateSafeMailItem() {
  return Create<LateBoundSafeItem>(L"SfMl.SfMailItem");
}

platform::AddressListsPtr ComRedemption::CreateAddressLists() {
  return Create<LateBoundAddressLists>(L"SfMl.SfAddressLists");
}

platform::MAPIUtilsPtr ComRedemption::CreateMAPIUtils() {
  return Create<LateBoundUtils>(L"SfMl.SfMAPIUtils");
}

}  // namespace corvessa::windows
