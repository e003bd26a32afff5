#include "desk/outlook/directory.h"

namespace corvessa::desk {

void Directory::AddList(List entries) {
  const auto list = std::make_shared<const List>(std::move(entries));
  for (const DirectoryEntry& entry : *list) {
    // Shares the list's ownership: the entry stays where it is.
    if (!entry.id.empty()) by_id_.try_emplace(entry.id, list, &entry);
  }
  lists_.push_back(list);
}

std::shared_ptr<const DirectoryEntry> Directory::Find(std::string_view id) const {
  const auto found = by_id_.find(std::string(id));
  return found == by_id_.end() ? nullptr : found->second;
}

}  // namespace corvessa::desk
