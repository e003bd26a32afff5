#include "accounts/registry_handlers.h"

#include <memory>
#include <tuple>
#include <unordered_set>

#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "base/debug_info.h"
#include "base/guard.h"
#include "base/text.h"
#include "branding/message_box.h"
#include "platform/host.h"
#include "platform/registry.h"
#include "settings/edition.h"
#include "settings/registry_values.h"
#include "settings/settings.h"

namespace corvessa::RegistryHandlers {
namespace {

using platform::kRegistryMoreData;
using platform::kRegistryNoMoreItems;
using platform::kRegistrySuccess;
using platform::RegistryKey;
using platform::RegistryKeyPtr;
using platform::RegistryStatus;

constexpr std::string_view kSeenMajor = "SeenUpdateMsgMaj";
constexpr std::string_view kSeenMinor = "SeenUpdateMsgMin";
constexpr std::string_view kSeenRevision = "SeenUpdateMsgRev";

constexpr std::string_view kPassphraseMemory = "PassphraseMemory";

RegistryKey& CurrentUser() {
  return platform::Host().registry.CurrentUser();
}
RegistryKey& LocalMachine() {
  return platform::Host().registry.LocalMachine();
}

/// A missing key leaves its switches off.
void LoadSwitches(std::string_view path, const RegistryKeyPtr& key) {
  for (const StoredSetting& setting : StoredSettings()) {
    if (setting.loaded && setting.key == path) {
      *setting.loaded = key && ReadFlag(*key, setting.name);
    }
  }
}

void ReadPreferences() {
  RegistryKeyPtr key;
  OpenOrCreate(CurrentUser(), kGlobalKey, key);
  LoadSwitches(kGlobalKey, key);
  g_lPassphraseMemory = key ? key->ReadNumber(kPassphraseMemory) : 0;
}

void WritePreferences() {
  const RegistryKeyPtr key = CreateKey(CurrentUser(), kGlobalKey);
  if (!key) return;
  for (const StoredSetting& setting : StoredSettings()) {
    if (setting.loaded && setting.key == kGlobalKey) {
      WriteFlag(*key, setting.name, *setting.loaded);
    }
  }
  key->WriteNumber(kPassphraseMemory, g_lPassphraseMemory);
}

void ReadEditionSwitches() {
  const RegistryKeyPtr key = OpenKey(LocalMachine(), kVersionKey);
  LoadSwitches(kVersionKey, key);
}

/// Disables the add-in in memory and tells the user why.
void RefuseMailMode(std::string_view reason) {
  g_bDisableKVPEntirely = true;
  Tell(Customization::AppLongName() + std::string(reason) +
       "\r\n\r\nThis can be changed from the Tools menu, \r\n"
       "under Options, Mail Services tab, Reconfigure Mail Support");
}

void CheckMailMode() {
  if (g_bDisableCorporateOrWorkgroupMode && IsCorporateWorkgroupMode()) {
    RefuseMailMode(" can only be used with Outlook's \"Internet Only\" mode.");
  }
  if (g_bDisableInternetMode && IsInternetOnlyMode()) {
    RefuseMailMode(" can only be used in Corporate/Workgroup mode.");
  }
}

bool Succeeded(RegistryStatus status) {
  return status == kRegistrySuccess || status == kRegistryMoreData;
}

using Aliases = std::unordered_set<std::string>;

/// The accounts that the last load read, and whether it could read them all.
struct LastLoad {
  Aliases seen;
  bool complete = true;
};

LastLoad& Last() {
  static LastLoad load;
  return load;
}

Aliases AliasesInMemory() {
  Aliases aliases;
  for (const NimbraAccountPtr& account : g_colAccounts) aliases.insert(account->m_sAlias);
  return aliases;
}

/// Adds an account for every subkey until the enumeration ends; gives the status that ended it.
RegistryStatus ReadAccounts(RegistryKey& accounts) {
  std::string name;
  for (std::uint32_t index = 0;; ++index) {
    const RegistryStatus status = accounts.EnumerateKey(index, name);
    if (!Succeeded(status)) return status;
    const auto account = std::make_shared<NimbraAccount>();
    if (!account->ReadAccount(accounts, name)) {
      Last().complete = false;
      continue;
    }
    Last().seen.insert(name);
    UserManagement::AddNimbraAccount(account);
  }
}

/// Deletes the stored accounts before they are written anew. After an incomplete load, deletes only
/// those that the load read and the user has removed since.
void RemoveStoredAccounts() {
  if (Last().complete) {
    DeleteRegistryKeyTree(CurrentUser(), kAccountsKey);
    return;
  }
  const RegistryKeyPtr accounts = CreateKey(CurrentUser(), kAccountsKey);
  if (!accounts) return;
  const Aliases wanted = AliasesInMemory();
  for (const std::string& alias : Last().seen) {
    if (!wanted.contains(alias)) DeleteRegistryKeyTree(*accounts, alias);
  }
}

}  // namespace

std::int32_t ReadUserAccountInfo() {
  RegistryStatus status = kRegistrySuccess;
  Guarded("RegistryHandlers:ReadUserAccountInfo - ", [&] {
    ReadPreferences();
    ReadEditionSwitches();
    g_colAccounts.clear();
    Last() = {.seen = {}, .complete = false};
    CheckMailMode();
    RegistryKeyPtr accounts;
    status = OpenOrCreate(CurrentUser(), kAccountsKey, accounts);
    if (status != kRegistrySuccess) return;
    Last().complete = true;
    status = ReadAccounts(*accounts);
    if (status == kRegistryNoMoreItems) {
      status = kRegistrySuccess;
    } else {
      Last().complete = false;
    }
  });
  return status;
}

std::int32_t WriteUserAccountInfo() {
  RegistryStatus status = kRegistrySuccess;
  Guarded("RegistryHandlers:WriteUserAccountInfo - ", [&] {
    WritePreferences();
    RemoveStoredAccounts();
    RegistryKeyPtr accounts;
    status = CurrentUser().Create(kAccountsKey, accounts);
    if (status != kRegistrySuccess) return;
    for (const NimbraAccountPtr& account : g_colAccounts) account->WriteAccount(*accounts);
  });
  return status;
}

void ForgetLastLoad() {
  Last() = {};
}

bool AlreadySeenProductUpdateMessage(std::int32_t major, std::int32_t minor,
                                     std::int32_t revision) {
  bool seen = true;
  const Error error = Attempt([&] {
    const RegistryKeyPtr key = CreateKey(CurrentUser(), kGlobalKey);
    const auto stored = [&](std::string_view name) { return key ? key->ReadNumber(name) : 0; };
    seen = std::tuple(major, minor, revision) <=
           std::tuple(stored(kSeenMajor), stored(kSeenMinor), stored(kSeenRevision));
    if (key) {
      key->WriteNumber(kSeenMajor, major);
      key->WriteNumber(kSeenMinor, minor);
      key->WriteNumber(kSeenRevision, revision);
    }
  });
  if (error.number != 0) {
    Debug_Info::TraceLog(
        [&] { return "AlreadySeenProductUpdateMessage: " + error.description + " - "; });
  }
  return seen;
}

bool IsCorporateWorkgroupMode() {
  return Guarded("RegistryHandlers:IsCorporateWorkgroupMode - ", false, [] {
    const RegistryKeyPtr key = OpenKey(CurrentUser(), kOutlookSetupKey);
    return key && key->ReadNumber("MailSupport") == 1;
  });
}

bool IsInternetOnlyMode() {
  return !IsCorporateWorkgroupMode();
}

bool DeleteRegistryKeyTree(RegistryKey& parent, std::string_view path) {
  return Guarded("RegistryHandlers:DeleteRegistryKeyTree - ", false, [&] {
    if (parent.DeleteKey(path) == kRegistrySuccess) return true;
    RegistryKeyPtr key;
    if (parent.Open(path, key) != kRegistrySuccess) return false;
    std::string child;
    RegistryStatus status = kRegistrySuccess;
    while (Succeeded(status = key->EnumerateKey(0, child))) {
      if (!DeleteRegistryKeyTree(*key, child)) return false;
    }
    key.reset();
    return status == kRegistryNoMoreItems && parent.DeleteKey(path) == kRegistrySuccess;
  });
}

}  // namespace corvessa::RegistryHandlers
