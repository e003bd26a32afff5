#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/registry.h"

namespace corvessa {

/// Of the user: preferences, one subkey an account, and where Outlook says how it was set up.
inline constexpr std::string_view kGlobalKey =
    R"(Software\Nimbra Communications\Corvessa Professional\Plugin\Global)";
inline constexpr std::string_view kAccountsKey =
    R"(Software\Nimbra Communications\Corvessa Professional\Plugin\Accounts)";
inline constexpr std::string_view kOutlookSetupKey =
    R"(Software\Microsoft\Office\9.0\Outlook\Setup)";
/// Of the machine: what the installer of an edition chose.
inline constexpr std::string_view kVersionKey =
    R"(Software\Nimbra Communications\Corvessa Professional\Plugin\Version)";

enum class SettingKind { kSwitch, kNumber, kMinutes, kText };
enum class SettingRoot { kCurrentUser, kLocalMachine };

/// A value of the registry that the add-in reads.
struct StoredSetting {
  std::string_view name;
  SettingRoot root;
  std::string_view key;
  SettingKind kind;
  /// The switch in memory that it is loaded into; null if it is read where it is used.
  bool* loaded = nullptr;
};

/// All of them but the accounts: the user's preferences, the edition's switches and texts, and the
/// mail mode that Outlook was set up for. The switches are loaded and saved in this order.
std::span<const StoredSetting> StoredSettings();

/// A longer string value reads as empty: older installers rely on values of at most 254 bytes.
inline constexpr std::size_t kStringBufferBytes = 255;

/// The account subkey's value for m_bSigning.
inline constexpr std::string_view kSignValue = "Sign";

/// Opens a key to read it; null if it is missing or cannot be opened. Reading must not need the
/// right to create keys, which users do not have in the machine's hive.
inline platform::RegistryKeyPtr OpenKey(platform::RegistryKey& root, std::string_view path) {
  platform::RegistryKeyPtr key;
  root.Open(path, key);
  return key;
}

/// The same for a key of the user's that is to exist afterwards: creates it if it is missing.
inline platform::RegistryStatus OpenOrCreate(platform::RegistryKey& root, std::string_view path,
                                             platform::RegistryKeyPtr& key) {
  const platform::RegistryStatus status = root.Open(path, key);
  return status == platform::kRegistryFileNotFound ? root.Create(path, key) : status;
}

/// Opens a key to write to it, creating it if it is missing; null if that fails.
inline platform::RegistryKeyPtr CreateKey(platform::RegistryKey& root, std::string_view path) {
  platform::RegistryKeyPtr key;
  root.Create(path, key);
  return key;
}

/// Truth values are kept sign-extended from their 16 bits: True is 0xFFFFFFFF. Anything but 0 reads
/// as true.
inline bool ReadFlag(platform::RegistryKey& key, std::string_view name) {
  return key.ReadNumber(name) != 0;
}

/// A value that cannot be written is lost.
inline void WriteFlag(platform::RegistryKey& key, std::string_view name, bool flag) {
  key.WriteNumber(name, flag ? std::int32_t{-1} : std::int32_t{0});
}

}  // namespace corvessa
