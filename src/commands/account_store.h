#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry.h"

namespace corvessa {

/// A secured address as the registry keeps it.
struct AccountEntry {
  std::string address;
  bool signs = false;
};

/// Reads and changes the secured addresses in the registry without the add-in. Throws CommandError
/// for wrong use and for a registry that cannot be written.
class AccountStore {
 public:
  explicit AccountStore(platform::Registry& registry) : registry_(registry) {}

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
  platform::Registry& registry_;
};

/// Throws CommandError when the key cannot be created.
platform::RegistryKeyPtr RequireKey(platform::RegistryKey& parent, std::string_view path);
/// Throws CommandError when the value cannot be written.
void RequireNumber(platform::RegistryKey& key, std::string_view name, std::int32_t number);

}  // namespace corvessa
