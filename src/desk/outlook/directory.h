#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/error.h"

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

/// The address lists, made for 100,000 entries and more.
class Directory {
 public:
  using List = std::vector<DirectoryEntry>;
  void AddList(List entries);
  const std::vector<std::shared_ptr<const List>>& Lists() const { return lists_; }
  /// Null when no list has an entry of the ID.
  std::shared_ptr<const DirectoryEntry> Find(std::string_view id) const;

 private:
  std::vector<std::shared_ptr<const List>> lists_;
  std::unordered_map<std::string, std::shared_ptr<const DirectoryEntry>> by_id_;
};
using DirectoryPtr = std::shared_ptr<Directory>;

}  // namespace corvessa::desk
