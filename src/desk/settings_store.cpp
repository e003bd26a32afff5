#include "desk/settings_store.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

#include "base/text.h"
#include "desk/command_error.h"
#include "settings/registry_values.h"
#include "settings/settings.h"

namespace corvessa::desk {
namespace {

enum class Kind { kSwitch, kNumber, kMinutes, kText };
enum class Root { kUser, kMachine };

struct Place {
  Root root;
  std::string_view path;
};

constexpr Place kGlobal = {Root::kUser, kGlobalKey};
constexpr Place kVersion = {Root::kMachine, kVersionKey};
constexpr Place kOutlookSetup = {Root::kUser, kOutlookSetupKey};

/// With its terminating byte it fills the add-in's buffer.
constexpr std::size_t kLongestText = kStringBufferBytes - 1;

struct Value {
  std::string_view name;
  Place place;
  Kind kind;
};

std::vector<Value> AllValues() {
  std::vector<Value> values = {
      {"DisableKVPEntirely", kGlobal, Kind::kSwitch},
      {"DisableAutoDecryptAndVerify", kGlobal, Kind::kSwitch},
      {"DisableOutgoingEncryption", kGlobal, Kind::kSwitch},
      {"DisableOutgoingSigning", kGlobal, Kind::kSwitch},
      {"LogDebuggingInfo", kGlobal, Kind::kSwitch},
      {"PassphraseMemory", kGlobal, Kind::kMinutes},
      {"SeenUpdateMsgMaj", kGlobal, Kind::kNumber},
      {"SeenUpdateMsgMin", kGlobal, Kind::kNumber},
      {"SeenUpdateMsgRev", kGlobal, Kind::kNumber},
      {"DisableInternetMode", kVersion, Kind::kSwitch},
      {"DisableCorporateOrWorkgroupMode", kVersion, Kind::kSwitch},
      {"DisableAutoDecryptAttachments", kVersion, Kind::kSwitch},
      {"DisableKeyGen", kVersion, Kind::kSwitch},
      {"NoToolbarButtonText", kVersion, Kind::kSwitch},
      {"ADKEnabled", kVersion, Kind::kSwitch},
  };
  for (const std::string_view text : kEditionTexts) values.push_back({text, kVersion, Kind::kText});
  values.push_back({"MailSupport", kOutlookSetup, Kind::kNumber});
  return values;
}

/// In the order in which they are listed.
const std::vector<Value>& Values() {
  static const std::vector<Value> values = AllValues();
  return values;
}

const Value& FindValue(std::string_view name) {
  const std::string lower = LCase(name);
  const auto found = std::ranges::find_if(
      Values(), [&](const Value& value) { return LCase(value.name) == lower; });
  if (found == Values().end()) {
    throw CommandError{Outcome::kWrongUse,
                       "unknown setting \"" + ForDisplay(name) + "\"; \"get\" lists all settings"};
  }
  return *found;
}

platform::RegistryKey& RootOf(RegistryFile& registry, Root root) {
  return root == Root::kUser ? registry.CurrentUser() : registry.LocalMachine();
}

/// Null if the key is missing.
platform::RegistryKeyPtr TryOpen(RegistryFile& registry, const Place& place) {
  platform::RegistryKeyPtr key;
  RootOf(registry, place.root).Open(place.path, key);
  return key;
}

platform::RegistryKeyPtr OpenOrCreate(platform::RegistryKey& parent, std::string_view path) {
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

std::optional<std::int32_t> ParseValue(const Value& value, std::string_view text) {
  if (value.kind == Kind::kSwitch) return ParseSwitch(text);
  return ParseNumber(text, value.kind == Kind::kMinutes ? kForgetAfterEachUse
                                                        : std::numeric_limits<std::int32_t>::min());
}

std::string_view AcceptedValues(Kind kind) {
  switch (kind) {
    case Kind::kSwitch:
      return "1 or 0";
    case Kind::kMinutes:
      return "a number of minutes, 0 for the whole session or -1 for \"forget after each use\"";
    default:
      return "a 32-bit integer";
  }
}

void CheckText(const Value& value, std::string_view text) {
  if (text.size() > kLongestText) {
    throw CommandError{Outcome::kWrongUse, std::string(value.name) + " takes at most " +
                                               Decimal(static_cast<std::int64_t>(kLongestText)) +
                                               " bytes; a longer text reads as empty"};
  }
  if (ForDisplay(text) != text) {
    throw CommandError{Outcome::kWrongUse,
                       std::string(value.name) + " takes one line of printable characters"};
  }
  // It is part of every armoured message, which must travel unchanged.
  if (value.name.ends_with("Header") && !IsAscii(text)) {
    throw CommandError{Outcome::kWrongUse,
                       std::string(value.name) + " takes ASCII characters only"};
  }
}

}  // namespace

std::vector<std::string_view> SettingsStore::Names() {
  std::vector<std::string_view> names;
  for (const Value& value : Values()) names.push_back(value.name);
  return names;
}

std::string SettingsStore::Get(std::string_view name) const {
  const Value& value = FindValue(name);
  const auto key = TryOpen(registry_, value.place);
  if (value.kind == Kind::kText) {
    return key ? key->ReadString(value.name, kStringBufferBytes) : std::string();
  }
  const std::int32_t number = key ? key->ReadNumber(value.name) : 0;
  if (value.kind == Kind::kSwitch) return number != 0 ? "1" : "0";
  return Decimal(number);
}

void SettingsStore::Set(std::string_view name, std::string_view text) {
  const Value& value = FindValue(name);
  if (value.kind == Kind::kText) {
    CheckText(value, text);
    const std::string root =
        value.place.root == Root::kUser ? "HKEY_CURRENT_USER\\" : "HKEY_LOCAL_MACHINE\\";
    registry_.WriteString(root + std::string(value.place.path), value.name, text);
  } else {
    const auto number = ParseValue(value, text);
    if (!number) {
      throw CommandError{Outcome::kWrongUse, std::string(value.name) + " takes " +
                                                 std::string(AcceptedValues(value.kind))};
    }
    WriteNumber(*OpenOrCreate(RootOf(registry_, value.place.root), value.place.path), value.name,
                *number);
  }
  registry_.Save();
}

std::vector<AccountEntry> SettingsStore::Accounts() const {
  std::vector<AccountEntry> entries;
  const auto accounts = TryOpen(registry_, {Root::kUser, kAccountsKey});
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

std::string SettingsStore::NormalAddress(std::string_view address) {
  std::string normal = LCase(Trim(address));
  const auto at = normal.find('@');
  const bool is_address = at != std::string::npos && at > 0 && at + 1 < normal.size() &&
                          normal.find('@', at + 1) == std::string::npos &&
                          normal.find_first_of(" \\\"<>(),;:[]") == std::string::npos &&
                          !HoldsControlCharacter(normal);
  if (!is_address) {
    throw CommandError{
        Outcome::kWrongUse,
        "\"" + ForDisplay(address) + "\" is not an email address; write it as name@example.org"};
  }
  return normal;
}

bool SettingsStore::AddAccount(std::string_view address, bool signs) {
  const std::string added = NormalAddress(address);
  const auto before = Accounts();
  const auto known =
      std::ranges::find_if(before, [&](const auto& entry) { return entry.address == added; });
  if (known != before.end() && (!signs || known->signs)) return false;
  const bool had_signer =
      std::ranges::any_of(before, [](const auto& entry) { return entry.signs; });
  {
    const auto accounts = OpenOrCreate(registry_.CurrentUser(), kAccountsKey);
    WriteNumber(*OpenOrCreate(*accounts, added), kSignValue, signs ? -1 : 0);
    for (const AccountEntry& entry : before) {
      if (signs && entry.signs) WriteNumber(*OpenOrCreate(*accounts, entry.address), kSignValue, 0);
    }
  }
  if (signs && !had_signer) Set("DisableOutgoingSigning", "0");
  registry_.Save();
  return true;
}

bool SettingsStore::RemoveAccount(std::string_view address) {
  const std::string removed = LCase(Trim(address));
  const auto before = Accounts();
  const auto known =
      std::ranges::find_if(before, [&](const auto& entry) { return entry.address == removed; });
  if (known == before.end()) return false;
  {
    const auto accounts = OpenOrCreate(registry_.CurrentUser(), kAccountsKey);
    if (accounts->DeleteKey(removed) != platform::kRegistrySuccess) {
      throw CommandError{Outcome::kEnvironment,
                         "cannot delete " + ForDisplay(removed) + " from the registry"};
    }
  }
  registry_.Save();
  return true;
}

}  // namespace corvessa::desk
