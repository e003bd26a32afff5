#include "crypto/services.h"

#include "accounts/user_management.h"
#include "base/error.h"
#include "crypto/crypto_operations.h"
#include "crypto/frm_timer.h"
#include "settings/edition.h"
#include "settings/settings.h"

namespace corvessa {

std::shared_ptr<CryptoOperations> g_oCrypto;

namespace {

std::shared_ptr<frmTimer> LoadedTimer() {
  const auto timers = LoadedFormsOf<frmTimer>();
  return timers.empty() ? nullptr : timers.front();
}

std::shared_ptr<frmTimer> RunningTimer() {
  if (auto timer = LoadedTimer()) return timer;
  auto timer = std::make_shared<frmTimer>();
  timer->Load();
  return timer;
}

}  // namespace

std::shared_ptr<CryptoOperations> CreateCrypto() {
  auto crypto = std::make_shared<CryptoOperations>();
  crypto->SetPGPMessageHeader(Customization::EnginePGPMessageHeader());
  crypto->SetPGPSignatureHeader(Customization::EnginePGPSignatureHeader());
  crypto->SetCustomerID(Customization::EngineCustomerID());
  crypto->SetLookupKeyServers(Customization::EngineLookupServer());
  crypto->SetUpdateKeyServers(Customization::EngineUpdateServer());
  crypto->Init();
  g_oCrypto = crypto;
  return crypto;
}

std::shared_ptr<CryptoOperations> Crypto() {
  if (g_oCrypto) return g_oCrypto;
  // The add-in was closed down while a dialog was open: settings and accounts are gone, and nothing
  // would release a new engine.
  if (!g_bSettingsLoaded) Raise(kObjectNotSet);
  StartHousekeeping();
  return CreateCrypto();
}

void StartHousekeeping() {
  RunningTimer();
}

void StopHousekeeping() {
  const auto timer = LoadedTimer();
  if (!timer) return;
  timer->tmrTimer.SetEnabled(false);
  timer->Unload();
}

void ForgetAfterUse() {
  if (g_lPassphraseMemory != kForgetAfterEachUse) return;
  if (g_oCrypto) {
    RunningTimer()->ResetCryptoAndAccounts();
  } else {
    // The add-in was closed down while a dialog was open: a new timer would never stop.
    UserManagement::ForgetAllPassphrases();
  }
}

}  // namespace corvessa
