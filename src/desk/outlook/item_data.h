#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "desk/content/content.h"
#include "platform/outlook.h"

/// Items as plain values, and what follows from the values alone.
namespace corvessa::desk {

struct Person {
  std::string name = {};
  std::string address = {};
  bool operator==(const Person&) const = default;
};

enum class RecipientKind { kTo = 1, kCc = 2, kBcc = 3 };

struct RecipientData {
  RecipientKind kind = RecipientKind::kTo;
  std::string name = {};
  /// An Internet address, an Exchange directory name ("/o=…") or empty.
  std::string address = {};
  /// Of its directory entry, for MAPIUtils.
  std::string entry_id = {};
  /// The address of its address entry, if that is a different one. A recipient with neither has no
  /// address entry.
  std::optional<std::string> entry_address = {};

  bool operator==(const RecipientData&) const = default;
};

/// An attachment; immutable. Without content it is an embedded item.
struct AttachmentData {
  std::string file_name = {};
  std::string display_name = {};
  ContentPtr content = {};
  /// For the host only: the MIME type, and the content ID of an inline picture.
  std::string content_type = {};
  std::string content_id = {};
};
using AttachmentDataPtr = std::shared_ptr<const AttachmentData>;

// Class numbers of items.
inline constexpr std::int32_t kAppointmentClass = 26;
inline constexpr std::int32_t kContactClass = 40;
inline constexpr std::int32_t kNoteClass = 44;
inline constexpr std::int32_t kTaskClass = 48;
inline constexpr std::int32_t kMeetingRequestClass = 53;

inline constexpr std::string_view kInbox = "Inbox";
inline constexpr std::string_view kDrafts = "Drafts";
inline constexpr std::string_view kOutbox = "Outbox";
inline constexpr std::string_view kSentItems = "Sent Items";

/// Never null; shared by all empty bodies.
platform::SharedText EmptyText();

/// The GUID and the name of a named property.
using PropertyName = std::pair<std::string, std::string>;

/// Compares header names without regard to case.
struct PropertyOrder {
  bool operator()(const PropertyName& one, const PropertyName& other) const;
};

/// The contents of an item. Copies are cheap: texts and attachments are shared.
struct ItemData {
  std::int32_t item_class = platform::kMailItemClass;
  /// Empty for an item being composed.
  Person sender;
  std::vector<Person> reply_to;
  std::vector<RecipientData> recipients;
  std::string subject;
  platform::SharedText body = EmptyText();
  /// What the mail declared for it.
  std::string body_charset;
  /// Empty for a plain-text item.
  platform::SharedText html = EmptyText();
  /// As text; empty for an unsent item.
  std::string received_time;
  /// Empty until it is saved for the first time.
  std::string entry_id;
  std::string folder;
  std::vector<AttachmentDataPtr> attachments;
  std::map<PropertyName, std::string, PropertyOrder> properties;
  /// The mail as it was received; null for one that was not.
  ContentPtr source;
  /// For the host only: message identifiers in angle brackets.
  std::string message_id;
  std::string in_reply_to;
  std::string references;
};

/// Such as "MailItem" for 43; "Item" for an unknown class.
std::string TypeNameOf(std::int32_t item_class);

/// The values of the named properties that travel as header lines, by name.
std::vector<std::pair<std::string, std::string>> HeaderLines(const ItemData& data);

/// The name, or the address if there is no name.
std::string ShownName(std::string_view name, std::string_view address);

/// The shown names of the recipients of one kind, joined by "; ".
std::string NamesOf(const ItemData& data, RecipientKind kind);

/// A Reply or Reply All as Outlook 2000 creates it: to the reply-to addresses, else the sender, and
/// for Reply All to all other recipients except the owner; "RE: " replaces an earlier prefix of the
/// subject; the original is quoted below an empty line, as HTML when it is HTML; no attachments.
ItemData MakeReply(const ItemData& original, const Person& owner, bool to_all);

/// A Forward: no recipients, "FW: ", the quoted original and its attachments.
ItemData MakeForward(const ItemData& original);

}  // namespace corvessa::desk
