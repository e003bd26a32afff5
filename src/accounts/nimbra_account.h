#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/secret_string.h"

namespace corvessa {

namespace platform {
class RegistryKey;
}

/// One of the user's own addresses that has been secured. Shared between g_colAccounts and its
/// users.
class NimbraAccount {
 public:
  /// The address, and the name of its registry subkey.
  std::string m_sAlias;
  /// What the user typed; empty when not known. Never traced, never stored.
  SecretString m_sPassword;
  /// The one address that signs outgoing mail.
  bool m_bSigning = false;

  /// The engine has accepted m_sPassword.
  void SetAuthenticated(bool authenticated) { authenticated_ = authenticated; }
  bool GetAuthenticated() const { return authenticated_; }

  /// Reads the subkey of that name; false, and nothing changed, when it cannot be opened.
  bool ReadAccount(platform::RegistryKey& accounts, std::string_view name);
  /// Writes the subkey named by m_sAlias; false when it cannot be created.
  bool WriteAccount(platform::RegistryKey& accounts) const;

 private:
  bool authenticated_ = false;
};

using NimbraAccountPtr = std::shared_ptr<NimbraAccount>;
using NimbraAccounts = std::vector<NimbraAccountPtr>;

/// The user's secured addresses in registry order, additions at the end.
extern NimbraAccounts g_colAccounts;

}  // namespace corvessa
