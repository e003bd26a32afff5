#include <algorithm>
#include <string>
#include <string_view>
#include <system_error>

#include "base/error.h"
#include "base/guard.h"
#include "crypto/stored_files.h"
#include "desk/profile/profile_files.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Whether the name is the prefix, at least one digit and the suffix.
bool IsNumbered(std::string_view prefix, std::string_view suffix, std::string_view name) {
  if (!name.starts_with(prefix) || !name.ends_with(suffix)) return false;
  if (name.size() <= prefix.size() + suffix.size()) return false;
  name.remove_prefix(prefix.size());
  name.remove_suffix(suffix.size());
  return std::ranges::all_of(name, IsDigit);
}

bool IsTemporary(std::string_view name) {
  return IsNumbered(kPrivateFolderPrefix, "", name) ||
         IsNumbered(kFreshFilePrefix, kFreshFileSuffix, name) || name == kSavingFolder ||
         system::IsTemporaryName(name);
}

}  // namespace

void RemoveTemporaryLeftovers(const fs::path& temporary_folder) {
  try {
    system::RemoveEntries(temporary_folder, IsTemporary);
  } catch (const std::system_error&) {
    Raise(kPathFileAccess,
          "The temporary folder " + temporary_folder.string() + " is a link or cannot be opened");
  }
}

void RemoveUnfinishedFiles(const fs::path& folder) {
  std::error_code ignored;
  if (!fs::is_directory(folder, ignored)) return;
  Ignoring([&] { system::RemoveEntries(fs::canonical(folder), system::IsTemporaryName); });
}

}  // namespace corvessa::desk
