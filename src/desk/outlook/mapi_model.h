#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/error.h"
#include "desk/outlook/world.h"
#include "platform/cdo.h"
#include "platform/redemption.h"

/// MAPI beside Outlook's own objects: the address lists, Redemption's safe objects and CDO's
/// session.
namespace corvessa::desk {

/// An entry of an address list.
struct DirectoryEntry {
  std::string name = {};
  /// An Internet address or an Exchange directory name ("/o=…").
  std::string address = {};
  std::string id = {};
  /// The SMTP-address property; empty when the entry has none.
  std::string smtp = {};
  /// Set: reading the entry's name, address or ID fails with it.
  std::optional<Error> failure = {};
};

/// The address lists; fast with 100,000 entries and more.
class Directory {
 public:
  using List = std::vector<DirectoryEntry>;
  void AddList(List entries);
  const std::vector<std::shared_ptr<const List>>& Lists() const { return lists_; }
  /// Null when no list has an entry with that ID.
  std::shared_ptr<const DirectoryEntry> Find(std::string_view id) const;

 private:
  std::vector<std::shared_ptr<const List>> lists_;
  std::unordered_map<std::string, std::shared_ptr<const DirectoryEntry>> by_id_;
};
using DirectoryPtr = std::shared_ptr<Directory>;

/// The safe objects over the model's items and address lists. A safe mail item shares its item's
/// data: what it writes the item has at once, and saving it saves the item.
class RedemptionModel final : public platform::Redemption {
 public:
  RedemptionModel(WorldPtr world, DirectoryPtr directory);
  platform::SafeMailItemPtr CreateSafeMailItem() override;
  platform::AddressListsPtr CreateAddressLists() override;
  platform::MAPIUtilsPtr CreateMAPIUtils() override;

  /// False: every creation fails with 429.
  bool installed = true;

 private:
  void RequireInstalled() const;

  WorldPtr world_;
  DirectoryPtr directory_;
};

/// The CDO session, with its log-ons recorded.
class CdoModel final : public platform::Cdo {
 public:
  struct LogonCall {
    std::string profile_name;
    std::string profile_password;
    bool show_dialog = false;
    bool new_session = false;
    int parent_window = 0;
    bool operator==(const LogonCall&) const = default;
  };

  platform::MAPISessionPtr CreateSession() override;

  const std::vector<LogonCall>& Logons() const { return *logons_; }
  int SessionsCreated() const { return sessions_created_; }

  /// False: creating a session fails with 429.
  bool installed = true;
  /// Set: sessions created from now on fail to log on with it.
  std::optional<Error> logon_failure;

 private:
  std::shared_ptr<std::vector<LogonCall>> logons_ = std::make_shared<std::vector<LogonCall>>();
  int sessions_created_ = 0;
};

}  // namespace corvessa::desk
