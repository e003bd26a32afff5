#include "desk/profile/profile.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "base/error.h"
#include "desk/profile/pictures.h"
#include "desk/profile/profile_files.h"
#include "settings/registry_values.h"
#include "system/errors.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kProductFolder = "c:\\Program Files\\Corvessa";

struct BrandValue {
  std::string_view name;
  std::string_view text;
};

constexpr BrandValue kBrandValues[] = {
    {"AppShortName", "Corvessa"},
    {"AppLongName", "Corvessa Professional for Outlook"},
    {"EnginePGPMessageHeader", "Corvessa Professional for Outlook " CORVESSA_EDITION},
    {"EnginePGPSignatureHeader", "Corvessa Professional for Outlook " CORVESSA_EDITION},
};

/// Servers and pages are empty until the user chooses some: a server learns who writes to whom.
/// They are written all the same, so that their names can be seen.
std::string_view BrandText(std::string_view name) {
  for (const BrandValue& value : kBrandValues) {
    if (value.name == name) return value.text;
  }
  return {};
}

[[noreturn]] void RaiseForProfile(std::string_view verb, const fs::path& folder,
                                  const std::string& reason) {
  Raise(kPathFileAccess,
        "Cannot " + std::string(verb) + " the profile " + folder.string() + ": " + reason);
}

/// Creates the folder if it is missing, private to its owner. Returns its absolute path.
fs::path CreateFolder(const fs::path& named) {
  std::error_code failure;
  fs::path folder = fs::absolute(named, failure).lexically_normal();
  if (!folder.has_filename()) folder = folder.parent_path();
  fs::create_directories(folder.parent_path(), failure);
  if (!failure && mkdir(folder.c_str(), 0700) != 0) {
    const int error_code = errno;
    std::error_code ignored;
    if (!fs::is_directory(folder, ignored)) failure.assign(error_code, std::generic_category());
  }
  if (failure) RaiseForProfile("create", folder, failure.message());
  return folder;
}

/// Keeps other processes, and other owners in this one, out while it lives.
system::FileLock Lock(const fs::path& folder) {
  try {
    if (auto lock = system::FileLock::Try(folder / "lock")) return std::move(*lock);
  } catch (const std::system_error& error) {
    RaiseForProfile("lock", folder, system::ReasonText(error.code()));
  }
  Raise(kPathFileAccess, "The profile " + folder.string() + " is in use by another program");
}

void WriteBrandValues(RegistryFile& registry) {
  // An open key delays saving, so that a new profile costs one write.
  platform::RegistryKeyPtr open_meanwhile;
  registry.LocalMachine().Open("", open_meanwhile);
  const std::string edition = "HKEY_LOCAL_MACHINE\\" + std::string(kVersionKey);
  for (const StoredSetting& setting : StoredSettings()) {
    if (setting.kind != SettingKind::kText || registry.FindValue(edition, setting.name)) continue;
    registry.WriteString(edition, setting.name, BrandText(setting.name));
  }
}

void MakeFolders(ProfileFiles& files, std::string_view path) {
  for (std::size_t end = path.find('\\'); end != std::string_view::npos;) {
    end = path.find('\\', end + 1);
    const std::string_view folder = path.substr(0, end);
    if (!files.FolderExists(folder)) files.CreateFolder(folder);
  }
}

}  // namespace

Profile::Profile(const fs::path& folder)
    : folder_(CreateFolder(folder)),
      lock_(Lock(folder_)),
      files_(folder_ / "drive_c"),
      registry_(folder_ / "registry.reg") {
  for (const fs::path& kept : {folder_, KeysFolder()}) RemoveUnfinishedFiles(kept);
  RemoveTemporaryLeftovers(TemporaryFolder());
  WriteBrandValues(registry_);
  MakeFolders(files_, kProductFolder);
  WriteBrandPictures(files_, kProductFolder);
}

fs::path Profile::TemporaryFolder() {
  return files_.LocalPath(files_.TemporaryFolder());
}

fs::path Profile::DefaultFolder() {
  // A relative one must be ignored, by the XDG Base Directory rules.
  const char* const data = std::getenv("XDG_DATA_HOME");
  if (data && fs::path(data).is_absolute()) return fs::path(data) / "corvessa";
  const char* const home = std::getenv("HOME");
  if (!home || *home == '\0') Raise(kPathNotFound, "HOME is not set; name a profile folder");
  return fs::path(home) / ".local" / "share" / "corvessa";
}

platform::ProductInfo Profile::Product() const {
  return {CORVESSA_VERSION_MAJOR, CORVESSA_VERSION_MINOR, CORVESSA_VERSION_PATCH,
          std::string(kProductFolder)};
}

}  // namespace corvessa::desk
