#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace corvessa {

namespace platform {
class RegistryKey;
}

/// The settings store: everything the add-in keeps in the registry. Nothing here throws; a value
/// that cannot be read is 0 or "", one that cannot be written is lost.
namespace RegistryHandlers {

/// Loads all settings and rebuilds g_colAccounts, which locks every account. 0, or the Win32 error
/// of opening or enumerating the accounts. May tell the user that the edition refuses Outlook's
/// mail mode, which disables the add-in for the session.
std::int32_t ReadUserAccountInfo();

/// Saves the user's preferences and rewrites the accounts from g_colAccounts. 0, or the Win32 error
/// of creating the Accounts key. After a load that could not see every account, the ones it did not
/// see are kept: they are not what the user removed.
std::int32_t WriteUserAccountInfo();

/// Forgets what the last load saw; for the end of the process's state.
void ForgetLastLoad();

/// Whether the notice for this version, or a newer one, was shown already. Records the version in
/// any case.
bool AlreadySeenProductUpdateMessage(std::int32_t major, std::int32_t minor, std::int32_t revision);

/// Outlook's mail mode. A missing value means Internet Only.
bool IsCorporateWorkgroupMode();
bool IsInternetOnlyMode();

/// Deletes a key with all its subkeys; true when it is gone.
bool DeleteRegistryKeyTree(platform::RegistryKey& parent, std::string_view path);

}  // namespace RegistryHandlers
}  // namespace corvessa
