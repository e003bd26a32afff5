#include "addin/process_state.h"

#include "accounts/nimbra_account.h"
#include "accounts/registry_handlers.h"
#include "accounts/user_management.h"
#include "addin/outlook_support.h"
#include "base/debug_info.h"
#include "crypto/crypto_operations.h"
#include "crypto/temp_files.h"
#include "message/cdo_addresses.h"
#include "settings/edition.h"
#include "settings/settings.h"
#include "ui/form.h"

namespace corvessa {
namespace {

void ResetSettings() {
  for (bool* flag :
       {&g_bDisableKVPEntirely, &g_bDisableAutoDecryptAndVerify, &g_bDisableOutgoingEncryption,
        &g_bDisableOutgoingSigning, &g_bDisableInternetMode, &g_bDisableCorporateOrWorkgroupMode,
        &g_bDisableAutoDecryptAttachments, &g_bDisableKeyGen, &g_bNoToolbarButtonText,
        &g_bADKEnabled, &g_bSettingsLoaded, &CDO_Addresses::g_bWarnAboutCDO}) {
    *flag = false;
  }
  g_lPassphraseMemory = 0;
}

}  // namespace

void ResetProcessState() noexcept {
  // Nothing of what ends here is to be traced.
  g_bLogDebuggingInfo = false;
  g_oOutlookSupport.reset();
  DropLoadedForms();
  g_oCrypto.reset();
  CDO_Addresses::DropSession();
  // An account may be held elsewhere for a moment longer; its passphrase goes now.
  UserManagement::ForgetAllPassphrases();
  g_colAccounts.clear();
  RegistryHandlers::ForgetLastLoad();
  g_colTempFiles.clear();
  ResetSettings();
  ClearCaptions();
}

}  // namespace corvessa
