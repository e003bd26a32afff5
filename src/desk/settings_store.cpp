#include "desk/settings_store.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <span>

#include "base/text.h"
#include "commands/account_store.h"
#include "commands/command_error.h"
#include "settings/registry_values.h"
#include "settings/settings.h"

namespace corvessa::desk {
namespace {

constexpr std::string_view kDeskKey =
    R"(Software\Nimbra Communications\Corvessa Professional\Desk)";

/// With its terminating byte it fills the add-in's buffer.
constexpr std::size_t kLongestText = kStringBufferBytes - 1;

/// What the desk keeps beside the add-in's values.
constexpr StoredSetting kOwnSettings[] = {
    {kDeliveryCommand, SettingRoot::kCurrentUser, kDeskKey, SettingKind::kText}};

const StoredSetting& FindSetting(std::string_view name) {
  const std::string lower = LCase(name);
  for (const std::span<const StoredSetting> settings :
       {StoredSettings(), std::span<const StoredSetting>(kOwnSettings)}) {
    const auto found = std::ranges::find(
        settings, lower, [](const StoredSetting& setting) { return LCase(setting.name); });
    if (found != settings.end()) return *found;
  }
  throw CommandError{Outcome::kWrongUse,
                     "unknown setting \"" + ForDisplay(name) + "\"; \"get\" lists all settings"};
}

platform::RegistryKey& FindRoot(RegistryFile& registry, SettingRoot root) {
  return root == SettingRoot::kCurrentUser ? registry.CurrentUser() : registry.LocalMachine();
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
  for (const StoredSetting& setting : kOwnSettings) names.push_back(setting.name);
  return names;
}

std::string SettingsStore::Get(std::string_view name) const {
  const StoredSetting& setting = FindSetting(name);
  const auto key = OpenKey(FindRoot(registry_, setting.root), setting.key);
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
    RequireNumber(*RequireKey(FindRoot(registry_, setting.root), setting.key), setting.name,
                  *number);
  }
  registry_.Save();
}

}  // namespace corvessa::desk
