#pragma once

#include <string_view>

#include "accounts/nimbra_account.h"

/// The list of secured addresses. Addresses are compared exactly; only adding and removing a user
/// trim and lower-case what they are given, never what is stored. Nothing here throws.
namespace corvessa::UserManagement {

/// Null when the address is in the list already.
NimbraAccountPtr AddNimbraAccountUser(std::string_view address);
/// Adds the address; whether it was added.
bool IsAccountAdded(std::string_view address);
/// False when the address is in the list already; the object is not kept then.
bool AddNimbraAccount(const NimbraAccountPtr& account);
bool RemoveNimbraAccountUser(std::string_view address);
/// Null when there is none.
NimbraAccountPtr GetNimbraAccountUser(std::string_view address);

/// Makes the address the only signer; one that is not in the list leaves none.
void SetAsSignerAccount(std::string_view address);
/// Null when nothing signs.
NimbraAccountPtr GetSigningAccount();
bool AreThereUnauthenticatedAccounts();
bool IsValidEmailAddress(std::string_view address);

void ForgetAllPassphrases();

}  // namespace corvessa::UserManagement
