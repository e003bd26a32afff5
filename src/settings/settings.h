#pragma once

#include <cstdint>

namespace corvessa {

/// The settings in memory: all off, 0 and empty until RegistryHandlers::ReadUserAccountInfo has
/// run. (g_bLogDebuggingInfo stands with the trace log.)

// The user's preferences, saved by RegistryHandlers::WriteUserAccountInfo.
extern bool g_bDisableKVPEntirely;
extern bool g_bDisableAutoDecryptAndVerify;
extern bool g_bDisableOutgoingEncryption;
extern bool g_bDisableOutgoingSigning;
/// Minutes that passphrases are kept; 0 for the whole session, kForgetAfterEachUse.
extern std::int32_t g_lPassphraseMemory;
inline constexpr std::int32_t kForgetAfterEachUse = -1;

// The edition's switches, written by the installer only.
extern bool g_bDisableInternetMode;
extern bool g_bDisableCorporateOrWorkgroupMode;
extern bool g_bDisableAutoDecryptAttachments;
extern bool g_bDisableKeyGen;
extern bool g_bNoToolbarButtonText;
extern bool g_bADKEnabled;

/// Set once the settings have been loaded in this process.
extern bool g_bSettingsLoaded;

}  // namespace corvessa
