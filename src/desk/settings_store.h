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

/// Reads and changes the add-in's registry values and accounts without the add-in. Every change is
/// on disk when its call returns. Throws CommandError for wrong use and Error if the registry
/// cannot be written.
class SettingsStore {
 public:
  explicit SettingsStore(RegistryFile& registry) : registry_(registry) {}

  /// The names of all values, preferences first.
  static std::vector<std::string_view> Names();
  /// Switches as "1" or "0", numbers in decimal. A missing value is what the add-in reads: 0 or
  /// empty.
  std::string Get(std::string_view name) const;
  /// Switches take 1, 0, true, false, on, off, yes, no.
  void Set(std::string_view name, std::string_view value);

  /// In the order in which the add-in lists them.
  std::vector<AccountEntry> Accounts() const;
  /// The address that signs, else the first; empty without accounts.
  std::string MainAddress() const;
  /// The address trimmed and in lower case, as it is stored. Throws CommandError for what is not an
  /// address.
  static std::string AccountAddress(std::string_view address);
  /// Adds the address if it is missing, and makes it the only signer if it `signs`. As in the
  /// settings dialog, the first signer switches signing on. False if nothing changed.
  bool AddAccount(std::string_view address, bool signs);
  /// False if there is none.
  bool RemoveAccount(std::string_view address);

 private:
  RegistryFile& registry_;
};

}  // namespace corvessa::desk
