#include "accounts/user_management.h"

#include <algorithm>
#include <memory>

#include "accounts/nimbra_account.h"
#include "base/guard.h"
#include "base/text.h"

namespace corvessa::UserManagement {
namespace {

/// Whether every character may stand in the domain of an address that was lower-cased before.
bool IsDomainText(std::string_view text) {
  return std::ranges::all_of(text, [](char c) {
    return c == '-' || c == '.' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z');
  });
}

}  // namespace

NimbraAccountPtr AddNimbraAccountUser(std::string_view address) {
  return Guarded("UserManagement:AddNimbraAccountUser - ", NimbraAccountPtr(),
                 [&]() -> NimbraAccountPtr {
                   const std::string alias = LCase(Trim(address));
                   if (GetNimbraAccountUser(alias)) return nullptr;
                   auto account = std::make_shared<NimbraAccount>();
                   account->m_sAlias = alias;
                   g_colAccounts.push_back(account);
                   return account;
                 });
}

bool IsAccountAdded(std::string_view address) {
  return AddNimbraAccountUser(address) != nullptr;
}

bool AddNimbraAccount(const NimbraAccountPtr& account) {
  return Guarded("UserManagement:AddNimbraAccount - ", false, [&] {
    if (!account) Raise(kObjectNotSet);
    if (GetNimbraAccountUser(account->m_sAlias)) return false;
    g_colAccounts.push_back(account);
    return true;
  });
}

bool RemoveNimbraAccountUser(std::string_view address) {
  return Guarded("UserManagement:RemoveNimbraAccountUser - ", false, [&] {
    const std::string alias = LCase(Trim(address));
    const auto found = std::ranges::find_if(
        g_colAccounts, [&](const auto& account) { return account->m_sAlias == alias; });
    if (found == g_colAccounts.end()) return false;
    g_colAccounts.erase(found);
    return true;
  });
}

NimbraAccountPtr GetNimbraAccountUser(std::string_view address) {
  return Guarded("UserManagement:GetNimbraAccountUser - ", NimbraAccountPtr(),
                 [&]() -> NimbraAccountPtr {
                   for (const NimbraAccountPtr& account : g_colAccounts) {
                     if (account->m_sAlias == address) return account;
                   }
                   return nullptr;
                 });
}

void SetAsSignerAccount(std::string_view address) {
  Guarded(":SetAsSignerAccount - ", [&] {
    for (const NimbraAccountPtr& account : g_colAccounts) {
      account->m_bSigning = account->m_sAlias == address;
    }
  });
}

NimbraAccountPtr GetSigningAccount() {
  return Guarded(":GetSigningAccount - ", NimbraAccountPtr(), []() -> NimbraAccountPtr {
    for (const NimbraAccountPtr& account : g_colAccounts) {
      if (account->m_bSigning) return account;
    }
    return nullptr;
  });
}

bool AreThereUnauthenticatedAccounts() {
  return Guarded(":AreThereUnauthenticatedAccounts - ", false, [] {
    return std::ranges::any_of(g_colAccounts,
                               [](const auto& account) { return !account->GetAuthenticated(); });
  });
}

bool IsValidEmailAddress(std::string_view address) {
  if (Length(address) < 5) return false;
  const auto at = address.find('@');
  if (at == std::string_view::npos) return false;
  const std::string_view domain = address.substr(at + 1);
  if (domain.find('@') != std::string_view::npos) return false;
  if (domain.find('.') == std::string_view::npos) return false;
  return IsDomainText(domain);
}

void ForgetAllPassphrases() {
  for (const NimbraAccountPtr& account : g_colAccounts) {
    account->SetAuthenticated(false);
    account->m_sPassword.Clear();
  }
}

}  // namespace corvessa::UserManagement
