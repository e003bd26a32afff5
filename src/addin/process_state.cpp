#include "addin/process_state.h"

#include "accounts/registry_handlers.h"
#include "accounts/settings.h"
#include "accounts/user_management.h"
#include "addin/captions.h"
#include "addin/debug_info.h"
#include "addin/outlook_support.h"
#include "addin/services.h"
#include "addin/temp_files.h"
#include "crypto/crypto_operations.h"
#include "forms/form.h"
#include "message/cdo_addresses.h"

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

void ResetCaptions() {
  for (std::string* caption : {&g_sOptionsCaption, &g_sStatusCaption, &g_sDecryptNowCaption,
                               &g_sDecryptAttachmentsCaption, &g_sEncryptedReplyCaption}) {
    caption->clear();
  }
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
  ResetCaptions();
}

}  // namespace corvessa
