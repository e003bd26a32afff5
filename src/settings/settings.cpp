#include "settings/settings.h"

#include "base/debug_info.h"
#include "settings/registry_values.h"

namespace corvessa {

bool g_bDisableKVPEntirely = false;
bool g_bDisableAutoDecryptAndVerify = false;
bool g_bDisableOutgoingEncryption = false;
bool g_bDisableOutgoingSigning = false;
std::int32_t g_lPassphraseMemory = 0;

bool g_bDisableInternetMode = false;
bool g_bDisableCorporateOrWorkgroupMode = false;
bool g_bDisableAutoDecryptAttachments = false;
bool g_bDisableKeyGen = false;
bool g_bNoToolbarButtonText = false;
bool g_bADKEnabled = false;

bool g_bSettingsLoaded = false;

std::span<const StoredSetting> StoredSettings() {
  using enum SettingKind;
  using enum SettingRoot;
  static constexpr StoredSetting kSettings[] = {
      {"DisableKVPEntirely", kCurrentUser, kGlobalKey, kSwitch, &g_bDisableKVPEntirely},
      {"DisableAutoDecryptAndVerify", kCurrentUser, kGlobalKey, kSwitch,
       &g_bDisableAutoDecryptAndVerify},
      {"DisableOutgoingEncryption", kCurrentUser, kGlobalKey, kSwitch,
       &g_bDisableOutgoingEncryption},
      {"DisableOutgoingSigning", kCurrentUser, kGlobalKey, kSwitch, &g_bDisableOutgoingSigning},
      {"LogDebuggingInfo", kCurrentUser, kGlobalKey, kSwitch, &g_bLogDebuggingInfo},
      {"PassphraseMemory", kCurrentUser, kGlobalKey, kMinutes},
      {"SeenUpdateMsgMaj", kCurrentUser, kGlobalKey, kNumber},
      {"SeenUpdateMsgMin", kCurrentUser, kGlobalKey, kNumber},
      {"SeenUpdateMsgRev", kCurrentUser, kGlobalKey, kNumber},
      {"DisableInternetMode", kLocalMachine, kVersionKey, kSwitch, &g_bDisableInternetMode},
      {"DisableCorporateOrWorkgroupMode", kLocalMachine, kVersionKey, kSwitch,
       &g_bDisableCorporateOrWorkgroupMode},
      {"DisableAutoDecryptAttachments", kLocalMachine, kVersionKey, kSwitch,
       &g_bDisableAutoDecryptAttachments},
      {"DisableKeyGen", kLocalMachine, kVersionKey, kSwitch, &g_bDisableKeyGen},
      {"NoToolbarButtonText", kLocalMachine, kVersionKey, kSwitch, &g_bNoToolbarButtonText},
      {"ADKEnabled", kLocalMachine, kVersionKey, kSwitch, &g_bADKEnabled},
      {"AppShortName", kLocalMachine, kVersionKey, kText},
      {"AppLongName", kLocalMachine, kVersionKey, kText},
      {"EnginePGPMessageHeader", kLocalMachine, kVersionKey, kText},
      {"EnginePGPSignatureHeader", kLocalMachine, kVersionKey, kText},
      {"EngineCustomerID", kLocalMachine, kVersionKey, kText},
      {"EngineLookupServer", kLocalMachine, kVersionKey, kText},
      {"EngineUpdateServer", kLocalMachine, kVersionKey, kText},
      {"URLMain", kLocalMachine, kVersionKey, kText},
      {"URLHelp", kLocalMachine, kVersionKey, kText},
      {"URLHelpAddInstructions", kLocalMachine, kVersionKey, kText},
      {"URLTools", kLocalMachine, kVersionKey, kText},
      {"URLKeyGen", kLocalMachine, kVersionKey, kText},
      {"URLPassphrase", kLocalMachine, kVersionKey, kText},
      {"URLIMAPInfo", kLocalMachine, kVersionKey, kText},
      {"URLIMAPCheck", kLocalMachine, kVersionKey, kText},
      {"URLUpdate", kLocalMachine, kVersionKey, kText},
      {"MailSupport", kCurrentUser, kOutlookSetupKey, kNumber},
  };
  return kSettings;
}

}  // namespace corvessa
