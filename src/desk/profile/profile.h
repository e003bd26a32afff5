#pragma once

#include <filesystem>

#include "desk/profile/curl_inet.h"
#include "desk/profile/memory_clipboard.h"
#include "desk/profile/pictures.h"
#include "desk/profile/profile_files.h"
#include "desk/profile/registry_file.h"
#include "desk/profile/system_clock.h"
#include "desk/profile/system_shell.h"
#include "platform/host.h"
#include "system/files.h"

namespace corvessa::desk {

/// A user's profile: one folder that holds everything the add-in keeps, for one process at a time.
///
///   registry.reg   the settings      drive_c/   drive C, with the trace log and temporary files
///   keys/          the key rings     adk.txt    additional decryption addresses, when there are
///   any
class Profile {
 public:
  /// Opens the profile in that folder; makes the folder, the brand's values and its pictures where
  /// they are missing. Values that are there stay as they are; what an earlier process that was
  /// killed has left in the folder for temporary files goes. Throws Error 75 with a line for the
  /// user when another process uses it, when it cannot be made or when its registry is damaged.
  explicit Profile(const std::filesystem::path& folder);

  /// Where a user's profile is kept unless the user says otherwise. Throws Error 76 when the
  /// environment names no home folder.
  static std::filesystem::path DefaultFolder();

  ProfileFiles& Files() { return files_; }
  RegistryFile& Registry() { return registry_; }
  platform::Clock& Clock() { return clock_; }
  platform::Inet& Inet() { return inet_; }
  platform::Pictures& Pictures() { return pictures_; }
  platform::Shell& Shell() { return shell_; }
  platform::Clipboard& Clipboard() { return clipboard_; }
  /// The add-in's version and where its file would lie on drive C.
  platform::ProductInfo Product() const;

  /// Where whatever is set aside for a while lies, by libraries too.
  std::filesystem::path TemporaryFolder();
  /// Of the engine. Made when it first needs them.
  std::filesystem::path KeysFolder() const { return folder_ / "keys"; }
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
