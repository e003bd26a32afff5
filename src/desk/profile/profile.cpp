#include "desk/profile/profile.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "base/error.h"
#include "desk/profile/brand_pictures.h"
#include "desk/profile/leftovers.h"
#include "settings/registry_values.h"

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

/// Servers and pages are the user's choice: an address that nobody chose would be told who writes
/// to whom. They stand there empty so that their names can be seen.
std::string_view BrandText(std::string_view name) {
  for (const BrandValue& value : kBrandValues) {
    if (value.name == name) return value.text;
  }
  return {};
}

[[noreturn]] void RaiseForProfile(const fs::path& folder, std::string_view what) {
  Raise(kPathFileAccess, "The profile " + folder.string() + " " + std::string(what));
}

/// Makes the folder, private to its owner, unless it is there.
fs::path MadeFolder(const fs::path& named) {
  std::error_code failure;
  fs::path folder = fs::absolute(named, failure).lexically_normal();
  if (!folder.has_filename()) folder = folder.parent_path();
  fs::create_directories(folder.parent_path(), failure);
  if (!failure && mkdir(folder.c_str(), 0700) != 0) {
    const int reason = errno;
    std::error_code ignored;
    if (!fs::is_directory(folder, ignored)) failure.assign(reason, std::generic_category());
  }
  if (failure) RaiseForProfile(folder, "cannot be made: " + failure.message());
  return folder;
}

system::FileLock LockedOrRaise(const fs::path& folder) {
  try {
    if (auto lock = system::FileLock::Try(folder / "lock")) return std::move(*lock);
  } catch (const std::system_error& error) {
    RaiseForProfile(folder, "cannot be used: " + error.code().message());
  }
  RaiseForProfile(folder, "is in use by another program; close that first");
}

void WriteBrandValues(RegistryFile& registry) {
  // While a key is open nothing is saved, so that a new profile costs one write.
  platform::RegistryKeyPtr open_meanwhile;
  registry.LocalMachine().Open("", open_meanwhile);
  const std::string edition = "HKEY_LOCAL_MACHINE\\" + std::string(kVersionKey);
  for (const std::string_view name : kEditionTexts) {
    if (!registry.FindValue(edition, name)) registry.WriteString(edition, name, BrandText(name));
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
    : folder_(MadeFolder(folder)),
      lock_(LockedOrRaise(folder_)),
      files_(folder_ / "drive_c"),
      registry_(folder_ / "registry.reg") {
  RemoveLeftovers(TemporaryFolder());
  WriteBrandValues(registry_);
  MakeFolders(files_, kProductFolder);
  WriteBrandPictures(files_, kProductFolder);
}

fs::path Profile::TemporaryFolder() {
  return files_.LocalPath(files_.TemporaryFolder());
}

fs::path Profile::DefaultFolder() {
  // A relative one is to be ignored, by the rules of those who thought of the variable.
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
