#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "desk/profile/registry_file.h"

namespace corvessa::desk {

/// A secured address as the registry keeps it.
struct AccountEntry {
  std::string address;
  bool signs = false;
};

/// The add-in's registry values by their names, and its accounts, for those who change them while
/// the add-in is not there. Every change is on the disk when its call returns. Throws Failure for
/// wrong use and Error for the disk.
class SettingsStore {
 public:
  explicit SettingsStore(RegistryFile& registry) : registry_(registry) {}

  /// The names of all values, preferences first.
  static std::vector<std::string_view> Names();
  /// Switches as "1" or "0", numbers in decimal; what is not there as the add-in reads it: 0 or
  /// empty.
  std::string Get(std::string_view name) const;
  /// Switches take 1, 0, true, false, on, off, yes, no.
  void Set(std::string_view name, std::string_view value);

  /// In the order in which the add-in lists them.
  std::vector<AccountEntry> Accounts() const;
  /// The address trimmed and in lower case, as it is kept.
  static std::string NormalAddress(std::string_view address);
  /// Adds the address unless it is there, and makes it the only signer when it is to sign. As in
  /// the settings dialog, the first signer switches signing on. False when nothing changed.
  bool AddAccount(std::string_view address, bool signs);
  /// False when there is none.
  bool RemoveAccount(std::string_view address);

 private:
  RegistryFile& registry_;
};

}  // namespace corvessa::desk
