#include "settings/settings.h"

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

}  // namespace corvessa
