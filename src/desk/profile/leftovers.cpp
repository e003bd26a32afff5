#include "desk/profile/leftovers.h"

#include <algorithm>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/error.h"
#include "crypto/stored_files.h"
#include "posix/atomic_file.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// The prefix and at least one digit, then nothing but what the suffix says.
bool IsNumbered(std::string_view prefix, std::string_view suffix, std::string_view name) {
  if (!name.starts_with(prefix) || !name.ends_with(suffix)) return false;
  if (name.size() <= prefix.size() + suffix.size()) return false;
  name.remove_prefix(prefix.size());
  name.remove_suffix(suffix.size());
  return std::ranges::all_of(name, IsDigit);
}

bool IsOurs(std::string_view name) {
  return IsNumbered(kPrivateFolderPrefix, "", name) ||
         IsNumbered(kFreshFilePrefix, kFreshFileSuffix, name) || name == kSavingFolder ||
         posix::IsTemporaryName(name);
}

}  // namespace

void RemoveLeftovers(const fs::path& folder) {
  const posix::FileDescriptor opened(
      open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!opened) {
    Raise(kPathFileAccess,
          "The folder for temporary files " + folder.string() + " is a link or cannot be opened");
  }
  // By way of the open folder, so that nobody can put a link in its place meanwhile.
  const fs::path held = "/proc/self/fd/" + std::to_string(opened.Get());
  std::error_code ignored;
  std::vector<fs::path> leftovers;
  for (fs::directory_iterator entry(held, ignored), end; entry != end; entry.increment(ignored)) {
    if (IsOurs(entry->path().filename().native())) leftovers.push_back(entry->path());
  }
  for (const fs::path& leftover : leftovers) fs::remove_all(leftover, ignored);
}

}  // namespace corvessa::desk
