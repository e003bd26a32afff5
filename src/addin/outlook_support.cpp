#include "addin/outlook_support.h"

#include <array>

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
#include "branding/message_box.h"
#include "crypto/crypto_operations.h"
#include "crypto/frm_timer.h"
#include "crypto/temp_files.h"
#include "message/cdo_addresses.h"
#include "platform/cdo.h"
#include "platform/host.h"
#include "platform/redemption.h"
#include "platform/registry.h"
#include "platform/system.h"
#include "platform/ui.h"
#include "settings/edition.h"
#include "settings/registry_values.h"
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

/// Which components were missing when the user was last told, as a sum of the numbers below.
constexpr std::string_view kToldMissing = "ToldMissingComponents";

struct Component {
  std::int32_t number;
  void (*create)();
  std::string_view description;
};

constexpr std::array kComponents = {
    Component{
        1, [] { platform::Host().redemption.CreateSafeMailItem(); },
        "- The safe mail item library (SfMl.SfMailItem). Until it is installed, protected mail "
        "cannot be sent, and addresses from Outlook's address book are not found.\r\n"},
    Component{
        2, [] { platform::Host().cdo.CreateSession(); },
        "- Collaboration Data Objects 1.21 (MAPI.Session). Until they are installed, recipients "
        "without an Internet address are not resolved.\r\n"}};

/// Names what other suppliers' setups install, once instead of with every mail that fails.
void TellMissingComponents() {
  std::int32_t missing = 0;
  std::string list;
  for (const Component& component : kComponents) {
    if (Attempt(component.create).number != kCannotCreateComponent) continue;
    missing += component.number;
    list += component.description;
  }
  if (missing == 0) return;
  const auto key = CreateKey(platform::Host().registry.CurrentUser(), kGlobalKey);
  if (!key || key->ReadNumber(kToldMissing) == missing) return;
  key->WriteNumber(kToldMissing, missing);
  Tell(Customization::AppLongName() + " needs software that is missing on this computer:\r\n\r\n" +
       list + "\r\nAsk your administrator to install it. This message is not shown again.");
}

/// The last attempt at files that Outlook held until now. What still cannot be deleted stays.
void DeleteQueuedFiles() {
  const std::vector<std::string> queued = g_colTempFiles;
  EmptiedFolders folders;
  for (const std::string& path : queued) DeleteOrQueue(path, folders);
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
    if (IsConnected()) TellMissingComponents();
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
