#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "desk/profile/registry_tree.h"
#include "platform/registry.h"

namespace corvessa::desk {

/// Statuses of registry calls beyond those that the add-in looks at.
inline constexpr platform::RegistryStatus kRegistryInvalidParameter = 87;
inline constexpr platform::RegistryStatus kRegistryKeyDeleted = 1018;

/// A registry in one REGEDIT4 text file (UTF-8), which registry editors and people can read.
/// Subkeys are enumerated in the order of their creation. Unknown keys and values are kept;
/// comments are lost with the first change.
///
/// The file is written atomically when the last open key is closed, so that a routine that writes
/// many values costs one write. A deletion alone waits for the next change: a routine that deletes
/// a key to fill it again loses nothing if the process ends in between. The file is not locked; the
/// profile's lock protects it.
class RegistryFile final : public platform::Registry {
 public:
  /// Opens the file, or starts empty if there is none. Throws Error 75 with a line for the user if
  /// it cannot be read or is damaged; a damaged file is never overwritten.
  explicit RegistryFile(std::filesystem::path path);
  /// Saves, ignoring failures. Call Save first to learn of them.
  ~RegistryFile() override;
  RegistryFile(const RegistryFile&) = delete;
  RegistryFile& operator=(const RegistryFile&) = delete;

  platform::RegistryKey& CurrentUser() override;
  platform::RegistryKey& LocalMachine() override;

  /// Writes all changes. Throws Error 75 if the file cannot be written; the changes are kept and
  /// written with the next one.
  void Save();

  /// Writes a string value and creates its key, which is named from its root:
  /// "HKEY_LOCAL_MACHINE\Software\…". Throws Error 5 for an invalid name.
  void WriteString(std::string_view key, std::string_view name, std::string_view text);
  /// The stored value, if it exists.
  std::optional<RegistryValue> FindValue(std::string_view key, std::string_view name) const;

  /// Shared with the open keys, which may be closed after the registry.
  class Store;

 private:
  std::shared_ptr<Store> store_;
  platform::RegistryKeyPtr current_user_;
  platform::RegistryKeyPtr local_machine_;
};

}  // namespace corvessa::desk
