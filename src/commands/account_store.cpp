#include "commands/account_store.h"

#include <algorithm>

#include "base/address.h"
#include "base/text.h"
#include "commands/command_error.h"
#include "settings/registry_values.h"

namespace corvessa {

platform::RegistryKeyPtr RequireKey(platform::RegistryKey& parent, std::string_view path) {
  platform::RegistryKeyPtr key;
  if (parent.Create(path, key) != platform::kRegistrySuccess) {
    throw CommandError{Outcome::kEnvironment, "cannot create the registry key " + ForDisplay(path)};
  }
  return key;
}

void RequireNumber(platform::RegistryKey& key, std::string_view name, std::int32_t number) {
  if (key.WriteNumber(name, number) != platform::kRegistrySuccess) {
    throw CommandError{Outcome::kEnvironment,
                       "cannot write the registry value " + std::string(name)};
  }
}

std::vector<AccountEntry> AccountStore::Accounts() const {
  std::vector<AccountEntry> entries;
  const auto accounts = OpenKey(registry_.CurrentUser(), kAccountsKey);
  std::string name;
  for (std::uint32_t i = 0;
       accounts && accounts->EnumerateKey(i, name) == platform::kRegistrySuccess; ++i) {
    const auto account = OpenKey(*accounts, name);
    entries.push_back({name, account && account->ReadNumber(kSignValue) != 0});
  }
  return entries;
}

std::string AccountStore::MainAddress() const {
  const auto accounts = Accounts();
  if (accounts.empty()) return {};
  const auto signer = std::ranges::find_if(accounts, &AccountEntry::signs);
  return signer == accounts.end() ? accounts.front().address : signer->address;
}

std::string AccountStore::AccountAddress(std::string_view address) {
  std::string normal = NormalAddress(address);
  if (!IsAddress(normal)) {
    throw CommandError{
        Outcome::kWrongUse,
        "\"" + ForDisplay(address) + "\" is not an email address; write it as name@example.org"};
  }
  return normal;
}

bool AccountStore::AddAccount(std::string_view address, bool signs) {
  const std::string added = AccountAddress(address);
  const auto before = Accounts();
  const auto known =
      std::ranges::find_if(before, [&](const auto& entry) { return entry.address == added; });
  if (known != before.end() && (!signs || known->signs)) return false;
  const bool had_signer =
      std::ranges::any_of(before, [](const auto& entry) { return entry.signs; });
  const auto accounts = RequireKey(registry_.CurrentUser(), kAccountsKey);
  RequireNumber(*RequireKey(*accounts, added), kSignValue, signs ? -1 : 0);
  for (const AccountEntry& entry : before) {
    if (signs && entry.signs) RequireNumber(*RequireKey(*accounts, entry.address), kSignValue, 0);
  }
  if (signs && !had_signer) {
    RequireNumber(*RequireKey(registry_.CurrentUser(), kGlobalKey), "DisableOutgoingSigning", 0);
  }
  return true;
}

bool AccountStore::RemoveAccount(std::string_view address) {
  const std::string removed = NormalAddress(address);
  const auto before = Accounts();
  const auto known =
      std::ranges::find_if(before, [&](const auto& entry) { return entry.address == removed; });
  if (known == before.end()) return false;
  const auto accounts = RequireKey(registry_.CurrentUser(), kAccountsKey);
  if (accounts->DeleteKey(removed) != platform::kRegistrySuccess) {
    throw CommandError{Outcome::kEnvironment,
                       "cannot delete " + ForDisplay(removed) + " from the registry"};
  }
  return true;
}

}  // namespace corvessa
