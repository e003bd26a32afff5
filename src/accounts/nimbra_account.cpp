#include "accounts/nimbra_account.h"

#include "platform/registry.h"
#include "settings/registry_values.h"

namespace corvessa {

NimbraAccounts g_colAccounts;

bool NimbraAccount::ReadAccount(platform::RegistryKey& accounts, std::string_view name) {
  platform::RegistryKeyPtr key;
  if (accounts.Open(name, key) != platform::kRegistrySuccess) return false;
  m_sAlias = name;
  m_bSigning = ReadFlag(*key, kSignValue);
  return true;
}

bool NimbraAccount::WriteAccount(platform::RegistryKey& accounts) const {
  platform::RegistryKeyPtr key;
  if (accounts.Create(m_sAlias, key) != platform::kRegistrySuccess) return false;
  WriteFlag(*key, kSignValue, m_bSigning);
  return true;
}

}  // namespace corvessa
