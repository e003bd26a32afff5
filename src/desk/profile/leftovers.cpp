#include "desk/profile/leftovers.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <system_error>

#include "base/error.h"
#include "crypto/stored_files.h"
#include "system/files.h"

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
         system::IsTemporaryName(name);
}

}  // namespace

void RemoveLeftovers(const fs::path& folder) {
  try {
    system::RemoveEntries(folder, IsOurs);
  } catch (const std::system_error&) {
    Raise(kPathFileAccess,
          "The folder for temporary files " + folder.string() + " is a link or cannot be opened");
  }
}

}  // namespace corvessa::desk
