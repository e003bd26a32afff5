#include "../entries.h"

namespace corvessa::system {

bool IsPrivate(const fs::path& entry) {
  constexpr auto kOthers = fs::perms::group_all | fs::perms::others_all;
  return (fs::status(entry).permissions() & kOthers) == fs::perms::none;
}

void Publish(const fs::path& file) {
  fs::permissions(file, fs::perms::others_read, fs::perm_options::add);
}

void LinkFolder(const fs::path& folder, const fs::path& link) {
  fs::create_directory_symlink(folder, link);
}

}  // namespace corvessa::system
