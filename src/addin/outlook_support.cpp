#include "addin/outlook_support.h"

#include "accounts/address_dialogs.h"
#include "accounts/frm_manage_user_keys.h"
#include "accounts/nimbra_account.h"
#include "accounts/product_updates.h"
#include "accounts/registry_handlers.h"
#include "accounts/user_management.h"
#include "addin/frm_splash_screen.h"
#include "base/checked.h"
#include "base/debug_info.h"
#include "base/guard.h"
#include "crypto/crypto_operations.h"
#include "crypto/frm_timer.h"
#include "crypto/temp_files.h"
#include "message/cdo_addresses.h"
#include "platform/host.h"
#include "platform/system.h"
#include "platform/ui.h"
#include "settings/edition.h"
#include "settings/settings.h"
#include "tracking/active_explorers.h"
#include "tracking/active_inspectors.h"

namespace corvessa {

using Debug_Info::TraceLog;

std::shared_ptr<OutlookSupport> g_oOutlookSupport;

namespace {

/// Painting the splash screen and every prompt let events in, and one of them may be the
/// disconnection, which puts the process back to its initial state.
bool IsConnected() {
  return g_bSettingsLoaded;
}

std::shared_ptr<frmSplashScreen> ShowSplashScreen() {
  TraceLog("Launching splash screen...");
  auto splash = std::make_shared<frmSplashScreen>();
  splash->Show();
  splash->SetTopmost(true);
  platform::Host().ui.DoEvents();
  return splash;
}

void CheckForUpdates(frmSplashScreen& splash) {
  if (RegistryHandlers::GetVersionValue("URLUpdate").empty()) return;
  TraceLog("Checking for product updates...");
  splash.SetCaption("Checking for product updates...");
  CheckForProductUpdates(false);
}

void StartEngine(frmSplashScreen& splash) {
  TraceLog("Initializing key server...");
  splash.SetCaption("Initializing key server...");
  if (IsConnected()) CreateCrypto();
}

void OfferToRegisterKeys() {
  auto no_key_pairs = std::make_shared<frmNoKeyPairs>();
  for (const NimbraAccountPtr& account : g_colAccounts) {
    no_key_pairs->lstEmailAddr.AddRow(account->m_sAlias);
  }
  auto manager = std::make_shared<frmManageUserKeys>();
  manager->Show();
  manager->AskRegisterKeys(no_key_pairs);
}

void OfferFirstAddress() {
  auto manager = std::make_shared<frmManageUserKeys>();
  manager->Show();
  manager->AskAddAddress();
}

void OfferKeysOrFirstAddress(frmSplashScreen& splash) {
  splash.SetCaption("Initializing secure email addresses...");
  if (!IsConnected()) return;
  if (g_colAccounts.empty()) {
    splash.Unload();
    return OfferFirstAddress();
  }
  splash.SetCaption("Searching for encryption keys...");
  const std::int32_t key_pairs = UserManagement::GetKeyPairCount(&splash);
  if (!IsConnected()) return;
  if (key_pairs == 0 && !g_bDisableKeyGen) {
    splash.Unload();
    OfferToRegisterKeys();
  }
}

/// The last attempt at files that Outlook held until now. What still cannot be deleted stays.
void DeleteQueuedFiles() {
  const std::vector<std::string> queued = g_colTempFiles;
  for (const std::string& path : queued) DeleteOrQueue(path);
}

}  // namespace

std::int32_t UserManagement::GetKeyPairCount(frmSplashScreen* splash) {
  return Guarded(": GetKeyPairCount - ", std::int32_t{0}, [&] {
    std::int32_t count = 0;
    // A copy: painting the caption lets events in, and one of them may reload the accounts.
    const NimbraAccounts accounts = g_colAccounts;
    for (const NimbraAccountPtr& account : accounts) {
      if (splash) {
        splash->SetCaption("Searching for encryption keys for " + account->m_sAlias + "...");
      }
      if (Crypto()->HasKeypair(account->m_sAlias) == kHasKeyPair) count = CheckedAdd(count, 1);
    }
    return count;
  });
}

OutlookSupport::OutlookSupport() = default;
OutlookSupport::~OutlookSupport() = default;

void OutlookSupport::Initialise(const platform::ApplicationPtr& application) {
  const auto held = shared_from_this();
  Guarded("OutlookSupport::Initialise - ", [&] {
    TraceLog("Initializing plugin...");
    platform::Host().clock.Randomize();
    CDO_Addresses::g_bWarnAboutCDO = true;
    if (!m_vInitialised) TrackOpenWindows(application);
    if (!IsConnected() || g_bDisableKVPEntirely) return;
    const auto splash = ShowSplashScreen();
    if (IsConnected()) CheckForUpdates(*splash);
    if (IsConnected()) StartEngine(*splash);
    if (IsConnected()) OfferKeysOrFirstAddress(*splash);
    if (IsConnected()) StartHousekeeping();
    splash->Unload();
  });
}

void OutlookSupport::TrackOpenWindows(const platform::ApplicationPtr& application) {
  TraceLog("Initializing inspectors...");
  m_oApplication = application;
  application_events_ = m_oApplication->Subscribe(*this);
  m_oExplorers = m_oApplication->Explorers();
  explorers_events_ = m_oExplorers->Subscribe(*this);
  m_oActiveExplorers = std::make_shared<ActiveExplorers>();
  m_oActiveExplorers->AddExplorer(application->ActiveExplorer(), true);
  // Its node loads the settings, which may tell the user something; Outlook may end meanwhile.
  if (!m_oActiveExplorers) return;
  m_oInspectors = application->Inspectors();
  inspectors_events_ = m_oInspectors->Subscribe(*this);
  m_oActiveInspectors = std::make_shared<ActiveInspectors>();
  m_oActiveInspectors->AddInspector(application->ActiveInspector());
  m_vInitialised = true;
  if (!g_bSettingsLoaded) {
    g_bSettingsLoaded = true;
    RegistryHandlers::ReadUserAccountInfo();
    if (!IsConnected()) return;
  }
  BuildCaptions();
  TraceLog("Inspectors initialized...");
}

void OutlookSupport::Closedown() {
  const auto held = shared_from_this();
  Ignoring([] { TraceLog("Closedown"); });
  // First, because releasing the registries can let in a new window.
  application_events_.reset();
  explorers_events_.reset();
  inspectors_events_.reset();
  Ignoring([&] {
    if (m_oActiveExplorers) m_oActiveExplorers->ReleaseAll();
    m_oActiveExplorers.reset();
  });
  Ignoring([&] {
    if (m_oActiveInspectors) m_oActiveInspectors->ReleaseAll();
    m_oActiveInspectors.reset();
  });
  m_oApplication.reset();
  if (g_oCrypto) g_oCrypto->ReleaseEngine();
  g_oCrypto.reset();
  Ignoring([] { StopHousekeeping(); });
  m_oExplorers.reset();
  m_oInspectors.reset();
  m_vInitialised = false;
  DeleteQueuedFiles();
}

}  // namespace corvessa
