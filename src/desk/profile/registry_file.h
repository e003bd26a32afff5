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

/// A registry kept in one REGEDIT4 text file (UTF-8), which registry editors and people can read.
/// Subkeys are enumerated in the order in which they were made. Keys and values that nobody asked
/// for stay as they were; comments go with the first change.
///
/// Changes reach the file, whole and atomically, when the last open key is closed, so that a
/// routine that writes many values costs one write. A deletion alone waits for the next change: who
/// deletes a key to fill it anew loses nothing when the process ends in between. Nobody else may
/// have the file open: it keeps nobody out.
class RegistryFile final : public platform::Registry {
 public:
  /// Opens the file, or starts empty when there is none. Throws Error 75 with a line for the user
  /// when it cannot be read or is damaged; a damaged file is never written to.
  explicit RegistryFile(std::filesystem::path path);
  /// Saves; a failure is lost here, so whoever wants to know calls Save before.
  ~RegistryFile() override;
  RegistryFile(const RegistryFile&) = delete;
  RegistryFile& operator=(const RegistryFile&) = delete;

  platform::RegistryKey& CurrentUser() override;
  platform::RegistryKey& LocalMachine() override;

  /// Writes what the file lacks. Throws Error 75 when it cannot be written; the changes are kept
  /// and tried again with the next one.
  void Save();

  /// Writes a string value; the key is named from its root, "HKEY_LOCAL_MACHINE\Software\…", and
  /// made when it is missing. Throws Error 5 for a name that no key or value can have.
  void WriteString(std::string_view key, std::string_view name, std::string_view text);
  /// The value as it is stored; nothing when it or its key is missing.
  std::optional<RegistryValue> FindValue(std::string_view key, std::string_view name) const;

  /// What open keys share with their registry, so that they may be closed after it.
  class Store;

 private:
  std::shared_ptr<Store> store_;
  platform::RegistryKeyPtr current_user_;
  platform::RegistryKeyPtr local_machine_;
};

}  // namespace corvessa::desk
