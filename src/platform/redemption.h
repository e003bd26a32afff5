#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/outlook.h"

/// Redemption: message properties and address entries without Outlook's security prompts.
/// Collections count from 1. Every call may throw Error with the call's HRESULT, 429 when the
/// library is missing.
namespace corvessa::platform {

class AddressEntry;
class Recipient;
class Recipients;
class SafeMailItem;
class AddressEntries;
class AddressList;
class AddressLists;
class MAPIUtils;
using AddressEntryPtr = std::shared_ptr<AddressEntry>;
using RecipientPtr = std::shared_ptr<Recipient>;
using RecipientsPtr = std::shared_ptr<Recipients>;
using SafeMailItemPtr = std::shared_ptr<SafeMailItem>;
using AddressEntriesPtr = std::shared_ptr<AddressEntries>;
using AddressListPtr = std::shared_ptr<AddressList>;
using AddressListsPtr = std::shared_ptr<AddressLists>;
using MAPIUtilsPtr = std::shared_ptr<MAPIUtils>;

/// PS_INTERNET_HEADERS: a named property of this set travels as a header line.
inline constexpr std::string_view kInternetHeaders = "{00020386-0000-0000-C000-000000000046}";

/// PR_SMTP_ADDRESS of an address entry, an 8-bit string.
inline constexpr std::int32_t kSmtpAddressTag = 0x39FE001E;

class AddressEntry {
 public:
  virtual ~AddressEntry() = default;
  virtual std::string Name() = 0;
  virtual std::string Address() = 0;
  virtual std::string ID() = 0;
  /// A MAPI property by its tag. Throws Error when the entry has none.
  virtual std::string Fields(std::int32_t tag) = 0;
};

class Recipient {
 public:
  virtual ~Recipient() = default;
  virtual std::string TypeName() = 0;
  virtual std::string Name() = 0;
  virtual std::string Address() = 0;
  virtual std::string EntryID() = 0;
  /// Null when there is none.
  virtual AddressEntryPtr AddressEntry() = 0;
};

/// The To, Cc and Bcc recipients of an item.
class Recipients {
 public:
  virtual ~Recipients() = default;
  virtual std::string TypeName() = 0;
  virtual std::int32_t Count() = 0;
  virtual RecipientPtr Item(std::int32_t index) = 0;
};

/// "SfMl.SfMailItem".
class SafeMailItem {
 public:
  virtual ~SafeMailItem() = default;
  virtual void SetItem(const MailItemPtr& item) = 0;
  /// The tag of a named property, without its type.
  virtual std::int32_t GetIDsFromNames(std::string_view guid, std::string_view name) = 0;
  /// Empty when the item has no such property.
  virtual std::string Fields(std::int32_t tag) = 0;
  virtual void SetFields(std::int32_t tag, std::string_view value) = 0;
  virtual void Save() = 0;
  /// Empty for a message being composed.
  virtual std::string SenderName() = 0;
  virtual std::string BCC() = 0;
  virtual RecipientsPtr Recipients() = 0;
};

class AddressEntries {
 public:
  virtual ~AddressEntries() = default;
  virtual std::int32_t Count() = 0;
  virtual AddressEntryPtr Item(std::int32_t index) = 0;
};

class AddressList {
 public:
  virtual ~AddressList() = default;
  virtual AddressEntriesPtr AddressEntries() = 0;
};

/// "SfMl.SfAddressLists".
class AddressLists {
 public:
  virtual ~AddressLists() = default;
  virtual std::int32_t Count() = 0;
  virtual AddressListPtr Item(std::int32_t index) = 0;
};

/// "SfMl.SfMAPIUtils".
class MAPIUtils {
 public:
  virtual ~MAPIUtils() = default;
  virtual AddressEntryPtr GetAddressEntryFromID(std::string_view id) = 0;
};

/// Creates the library's objects.
class Redemption {
 public:
  virtual ~Redemption() = default;
  virtual SafeMailItemPtr CreateSafeMailItem() = 0;
  virtual AddressListsPtr CreateAddressLists() = 0;
  virtual MAPIUtilsPtr CreateMAPIUtils() = 0;
};

}  // namespace corvessa::platform
