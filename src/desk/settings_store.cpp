#include "desk/settings_store.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

#include "base/address.h"
#include "base/text.h"
#include "desk/command_error.h"
#include "settings/registry_values.h"
#include "settings/settings.h"

namespace corvessa::desk {
namespace {

/// With its terminating byte it fills the add-in's buffer.
constexpr std::size_t kLongestText = kStringBufferBytes - 1;

const StoredSetting& FindSetting(std::string_view name) {
  const std::string lower = LCase(name);
  const auto found = std::ranges::find_if(
      StoredSettings(), [&](const StoredSetting& setting) { return LCase(setting.name) == lower; });
  if (found == StoredSettings().end()) {
    throw CommandError{Outcome::kWrongUse,
                       "unknown setting \"" + ForDisplay(name) + "\"; \"get\" lists all settings"};
  }
  return *found;
}

platform::RegistryKey& FindRoot(RegistryFile& registry, SettingRoot root) {
  return root == SettingRoot::kCurrentUser ? registry.CurrentUser() : registry.LocalMachine();
}

/// Null if the key is missing.
platform::RegistryKeyPtr TryOpen(platform::RegistryKey& root, std::string_view path) {
  platform::RegistryKeyPtr key;
  root.Open(path, key);
  return key;
}

platform::RegistryKeyPtr CreateKey(platform::RegistryKey& parent, std::string_view path) {
  platform::RegistryKeyPtr key;
  if (parent.Create(path, key) != platform::kRegistrySuccess) {
    throw CommandError{Outcome::kEnvironment, "cannot create the registry key " + ForDisplay(path)};
  }
  return key;
}

void WriteNumber(platform::RegistryKey& key, std::string_view name, std::int32_t number) {
  if (key.WriteNumber(name, number) != platform::kRegistrySuccess) {
    throw CommandError{Outcome::kEnvironment,
                       "cannot write the registry value " + std::string(name)};
  }
}

std::optional<std::int32_t> ParseSwitch(std::string_view text) {
  const std::string word = LCase(Trim(text));
  for (const char* yes : {"1", "-1", "true", "on", "yes"}) {
    if (word == yes) return -1;
  }
  for (const char* no : {"0", "false", "off", "no"}) {
    if (word == no) return 0;
  }
  return std::nullopt;
}

std::optional<std::int32_t> ParseNumber(std::string_view text, std::int32_t least) {
  const std::string_view digits = Trim(text);
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool is_number = error == std::errc() && end == digits.data() + digits.size();
  if (!is_number || number < least) return std::nullopt;
  return number;
}

std::optional<std::int32_t> ParseValue(const StoredSetting& setting, std::string_view text) {
  if (setting.kind == SettingKind::kSwitch) return ParseSwitch(text);
  return ParseNumber(text, setting.kind == SettingKind::kMinutes
                               ? kForgetAfterEachUse
                               : std::numeric_limits<std::int32_t>::min());
}

std::string_view AcceptedValues(SettingKind kind) {
  switch (kind) {
    case SettingKind::kSwitch:
      return "1 or 0";
    case SettingKind::kMinutes:
      return "a number of minutes, 0 for the whole session or -1 for \"forget after each use\"";
    default:
      return "a 32-bit integer";
  }
}

void CheckText(const StoredSetting& setting, std::string_view text) {
  if (text.size() > kLongestText) {
    throw CommandError{Outcome::kWrongUse, std::string(setting.name) + " takes at most " +
                                               Decimal(static_cast<std::int64_t>(kLongestText)) +
                                               " bytes; a longer text reads as empty"};
  }
  if (ForDisplay(text) != text) {
    throw CommandError{Outcome::kWrongUse,
                       std::string(setting.name) + " takes one line of printable characters"};
  }
  // It is part of every armoured message, which must travel unchanged.
  if (setting.name.ends_with("Header") && !IsAscii(text)) {
    throw CommandError{Outcome::kWrongUse,
                       std::string(setting.name) + " takes ASCII characters only"};
  }
}

}  // namespace

std::vector<std::string_view> SettingsStore::Names() {
  std::vector<std::string_view> names;
  for (const StoredSetting& setting : StoredSettings()) names.push_back(setting.name);
  return names;
}

std::string SettingsStore::Get(std::string_view name) const {
  const StoredSetting& setting = FindSetting(name);
  const auto key = TryOpen(FindRoot(registry_, setting.root), setting.key);
  if (setting.kind == SettingKind::kText) {
    return key ? key->ReadString(setting.name, kStringBufferBytes) : std::string();
  }
  const std::int32_t number = key ? key->ReadNumber(setting.name) : 0;
  if (setting.kind == SettingKind::kSwitch) return number != 0 ? "1" : "0";
  return Decimal(number);
}

void SettingsStore::Set(std::string_view name, std::string_view text) {
  const StoredSetting& setting = FindSetting(name);
  if (setting.kind == SettingKind::kText) {
    CheckText(setting, text);
    const std::string root =
        setting.root == SettingRoot::kCurrentUser ? "HKEY_CURRENT_USER\\" : "HKEY_LOCAL_MACHINE\\";
    registry_.WriteString(root + std::string(setting.key), setting.name, text);
  } else {
    const auto number = ParseValue(setting, text);
    if (!number) {
      throw CommandError{Outcome::kWrongUse, std::string(setting.name) + " takes " +
                                                 std::string(AcceptedValues(setting.kind))};
    }
    WriteNumber(*CreateKey(FindRoot(registry_, setting.root), setting.key), setting.name, *number);
  }
  registry_.Save();
}

std::vector<AccountEntry> SettingsStore::Accounts() const {
  std::vector<AccountEntry> entries;
  const auto accounts = TryOpen(registry_.CurrentUser(), kAccountsKey);
  std::string name;
  for (std::uint32_t i = 0;
       accounts && accounts->EnumerateKey(i, name) == platform::kRegistrySuccess; ++i) {
    platform::RegistryKeyPtr account;
    accounts->Open(name, account);
    entries.push_back({name, account && account->ReadNumber(kSignValue) != 0});
  }
  return entries;
}

std::string SettingsStore::MainAddress() const {
  const auto accounts = Accounts();
  if (accounts.empty()) return {};
  const auto signer = std::ranges::find_if(accounts, &AccountEntry::signs);
  return signer == accounts.end() ? accounts.front().address : signer->address;
}

std::string SettingsStore::AccountAddress(std::string_view address) {
  std::string normal = NormalAddress(address);
  if (!IsAddress(normal)) {
    throw CommandError{
        Outcome::kWrongUse,
        "\"" + ForDisplay(address) + "\" is not an email address; write it as name@example.org"};
  }
  return normal;
}

bool SettingsStore::AddAccount(std::string_view address, bool signs) {
  const std::string added = AccountAddress(address);
  const auto before = Accounts();
  const auto known =
      std::ranges::find_if(before, [&](const auto& entry) { return entry.address == added; });
  if (known != before.end() && (!signs || known->signs)) return false;
  const bool had_signer =
      std::ranges::any_of(before, [](const auto& entry) { return entry.signs; });
  {
    const auto accounts = CreateKey(registry_.CurrentUser(), kAccountsKey);
    WriteNumber(*CreateKey(*accounts, added), kSignValue, signs ? -1 : 0);
    for (const AccountEntry& entry : before) {
      if (signs && entry.signs) WriteNumber(*CreateKey(*accounts, entry.address), kSignValue, 0);
    }
  }
  if (signs && !had_signer) Set("DisableOutgoingSigning", "0");
  registry_.Save();
  return true;
}

bool SettingsStore::RemoveAccount(std::string_view address) {
  const std::string removed = NormalAddress(address);
  const auto before = Accounts();
  const auto known =
      std::ranges::find_if(before, [&](const auto& entry) { return entry.address == removed; });
  if (known == before.end()) return false;
  {
    const auto accounts = CreateKey(registry_.CurrentUser(), kAccountsKey);
    if (accounts->DeleteKey(removed) != platform::kRegistrySuccess) {
      throw CommandError{Outcome::kEnvironment,
                         "cannot delete " + ForDisplay(removed) + " from the registry"};
    }
  }
  registry_.Save();
  return true;
}

}  // namespace corvessa::desk
