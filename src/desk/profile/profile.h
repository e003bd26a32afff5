#pragma once

#include <filesystem>

#include "desk/profile/pictures.h"
#include "desk/profile/profile_files.h"
#include "desk/profile/registry_file.h"
#include "desk/profile/system_services.h"
#include "platform/host.h"
#include "system/files.h"

namespace corvessa::desk {

/// A user's profile: one folder with everything that the add-in keeps, for one process at a time.
///
///   registry.reg   the settings      drive_c/   drive C, with the trace log and temporary files
///   keys/          the key rings     adk.txt    additional decryption addresses (optional)
///   unsent/        sent mail that could not be handed to the delivery command
///   lock           locked by the process that uses the profile
class Profile {
 public:
  /// Opens the profile in that folder. Creates the folder, the brand's values and pictures if they
  /// are missing, and removes what a killed process has left. Throws Error 75 with a line for the
  /// user if another process uses the profile, if it cannot be created or if its registry is
  /// damaged.
  explicit Profile(const std::filesystem::path& folder);

  /// The default folder of a user's profile. Throws Error 76 if the environment names no home
  /// folder.
  static std::filesystem::path DefaultFolder();

  ProfileFiles& Files() { return files_; }
  RegistryFile& Registry() { return registry_; }
  platform::Clock& Clock() { return clock_; }
  platform::Inet& Inet() { return inet_; }
  platform::Pictures& Pictures() { return pictures_; }
  platform::Shell& Shell() { return shell_; }
  platform::Clipboard& Clipboard() { return clipboard_; }
  /// The add-in's version and the folder of its file on drive C.
  platform::ProductInfo Product() const;

  /// For temporary files, also those of libraries.
  std::filesystem::path TemporaryFolder();
  /// The engine creates it when it first needs it.
  std::filesystem::path KeysFolder() const { return folder_ / "keys"; }
  /// Made when it is first needed.
  std::filesystem::path UnsentFolder() const { return folder_ / "unsent"; }
  std::filesystem::path AdkFile() const { return folder_ / "adk.txt"; }

 private:
  std::filesystem::path folder_;
  system::FileLock lock_;
  ProfileFiles files_;
  RegistryFile registry_;
  SystemClock clock_;
  CurlInet inet_;
  FilePictures pictures_{files_};
  SystemShell shell_;
  MemoryClipboard clipboard_;
};

}  // namespace corvessa::desk
