#include "accounts/frm_manage_user_keys.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <limits>

#include "accounts/address_dialogs.h"
#include "accounts/nimbra_account.h"
#include "accounts/product_updates.h"
#include "accounts/registry_handlers.h"
#include "accounts/user_management.h"
#include "base/debug_info.h"
#include "base/guard.h"
#include "base/text.h"
#include "branding/branded_form.h"
#include "branding/customization.h"
#include "branding/message_box.h"
#include "crypto/frm_timer.h"
#include "forms/dialogs.h"
#include "settings/edition.h"
#include "settings/settings.h"

namespace corvessa {
namespace {

constexpr int kAddressesTab = 1;
constexpr int kOptionsTab = 2;

/// The number that a text begins with, as text again; kept within 32 bits, where it will be stored.
std::string MinutesText(std::string_view text) {
  using Limits = std::numeric_limits<std::int32_t>;
  const double minutes = std::clamp<double>(LeadingNumber(text), Limits::min(), Limits::max());
  char digits[512];
  const auto end =
      std::to_chars(std::begin(digits), std::end(digits), minutes, std::chars_format::fixed);
  return {digits, end.ptr};
}

}  // namespace

frmManageUserKeys::frmManageUserKeys()
    : BrandedForm("frmManageUserKeys", "<!-- LONGNAME -->", 440, 361) {
  fraSecureEmail.Hold({&lstvwAliases, &cmdAdd, &cmdRemove, &cmdProperties});
  fraPassphraseOptions.Hold(
      {&optRemember[0], &optRemember[1], &optForgetWhen[0], &optForgetWhen[1], &txtForgetWhen});
  lstvwAliases.SetAccessibleName(fraSecureEmail.Caption());
  txtForgetWhen.SetAccessibleName(optForgetWhen[1].Caption());
  cmdOK.SetDefault(true);
  cmdHelp.SetHelp(true);
  optRemember[0].Select();
  optForgetWhen[0].Select();
  txtForgetWhen.SetText("5");
  ShowControlsOfTab();
  WireHandlers();
}

void frmManageUserKeys::WireHandlers() {
  tbsTabs.OnClick = [this] { ShowControlsOfTab(); };
  cmdAdd.OnClick = [this] { Add(); };
  cmdRemove.OnClick = [this] { Remove(); };
  cmdProperties.OnClick = [this] { ShowProperties(); };
  chkDisableKVP.OnClick = [this] {
    if (finished_loading_) EnableAll(!chkDisableKVP.Checked());
  };
  for (OptionButton& button : optRemember) {
    button.OnClick = [this] { ApplyPassphraseRule(); };
  }
  txtForgetWhen.OnLostFocus = [this] { txtForgetWhen.SetText(MinutesText(txtForgetWhen.Text())); };
  cmdProductUpdates.OnClick = [this] {
    cmdProductUpdates.SetEnabled(false);
    CheckForProductUpdates(true);
    cmdProductUpdates.SetEnabled(true);
  };
  cmdOK.OnClick = [this] { Accept(); };
  cmdHelp.OnClick = [] { Customization::OpenHelpPage(); };
  cmdAbout.OnClick = [] { ShowModalForm(*std::make_shared<frmAbout>()); };
  cmdTools.OnClick = [] { Customization::OpenToolsPage(); };
}

void frmManageUserKeys::AskAddAddress() {
  Guarded("frmManageUserKeys::AskAddAddress - ", [&] {
    const bool agreed = Confirm(
        "You have not configured any of your email accounts\r\n"
        "to send or receive secure email.\r\n\r\n"
        "Would you like to do this now?");
    if (agreed) Add();
  });
}

void frmManageUserKeys::AskRegisterKeys(const std::shared_ptr<frmNoKeyPairs>& prompt) {
  Guarded("frmManageUserKeys::AskRegisterKeys - ", [&] { ShowModalForm(*prompt); });
}

void frmManageUserKeys::ShowTab(int tab) {
  Guarded("frmManageUserKeys::ShowTab - ", [&] { tbsTabs.Select(tab); });
}

void frmManageUserKeys::CheckForProductUpdates(bool asked_by_user) {
  corvessa::CheckForProductUpdates(asked_by_user);
}

void frmManageUserKeys::Form_Load() {
  BrandedForm::Form_Load();
  has_update_page_ = !RegistryHandlers::GetVersionValue("URLUpdate").empty();
  tbsTabs.Select(kAddressesTab);
  ShowControlsOfTab();
  ShowPreferences();
  ShowAccounts();
  RefreshSignerIcons();
  ApplySigningRule();
  ShowPassphraseMemory();
  if (g_bDisableKVPEntirely) EnableAll(false);
  UpdateButtons();
  finished_loading_ = true;
}

void frmManageUserKeys::Form_Activate() {
  // The settings were reloaded before the dialog was brought forward.
  ReplayUnsavedChanges();
}

void frmManageUserKeys::Form_Unload() {
  SaveSettings();
}

void frmManageUserKeys::ShowControlsOfTab() {
  const bool addresses = tbsTabs.Selected() == kAddressesTab;
  for (Control* control : std::initializer_list<Control*>{
           &fraSecureEmail, &chkDecryptAndVerifyIncoming, &chkSignOutgoing, &chkEncryptOutgoing}) {
    control->SetVisible(addresses);
  }
  const bool options = tbsTabs.Selected() == kOptionsTab;
  for (Control* control : std::initializer_list<Control*>{&chkDisableKVP, &chkLogDebuggingInfo,
                                                          &fraPassphraseOptions}) {
    control->SetVisible(options);
  }
  cmdProductUpdates.SetVisible(options && has_update_page_);
}

void frmManageUserKeys::ShowPreferences() {
  chkEncryptOutgoing.SetChecked(!g_bDisableOutgoingEncryption);
  chkSignOutgoing.SetChecked(!g_bDisableOutgoingSigning);
  chkDecryptAndVerifyIncoming.SetChecked(!g_bDisableAutoDecryptAndVerify);
  chkDisableKVP.SetChecked(g_bDisableKVPEntirely);
  chkLogDebuggingInfo.SetChecked(g_bLogDebuggingInfo);
}

void frmManageUserKeys::ShowAccounts() {
  lstvwAliases.SetColumnHeader("Secure Email Addresses");
  for (const NimbraAccountPtr& account : g_colAccounts) lstvwAliases.AddRow(account->m_sAlias);
  if (lstvwAliases.RowCount() > 0) lstvwAliases.Select(0);
}

void frmManageUserKeys::ShowPassphraseMemory() {
  if (g_lPassphraseMemory == kForgetAfterEachUse) {
    optRemember[1].Select();
    optForgetWhen[0].Select();
  } else if (g_lPassphraseMemory != 0) {
    optRemember[1].Select();
    optForgetWhen[1].Select();
    txtForgetWhen.SetText(Decimal(g_lPassphraseMemory));
  }
  ApplyPassphraseRule();
}

void frmManageUserKeys::UpdateButtons() {
  cmdProperties.SetEnabled(lstvwAliases.RowCount() > 0);
  cmdRemove.SetEnabled(lstvwAliases.RowCount() > 0);
}

void frmManageUserKeys::ApplyPassphraseRule() {
  const bool forget = optRemember[1].Selected();
  for (OptionButton& button : optForgetWhen) button.SetEnabled(forget);
  txtForgetWhen.SetEnabled(forget);
}

void frmManageUserKeys::ApplySigningRule() {
  if (g_bDisableKVPEntirely) {
    chkSignOutgoing.SetEnabled(false);
  } else if (!UserManagement::GetSigningAccount()) {
    g_bDisableOutgoingSigning = true;
    chkSignOutgoing.SetEnabled(false);
  } else {
    chkSignOutgoing.SetEnabled(true);
  }
  SaveSettings();
  chkSignOutgoing.SetChecked(!g_bDisableOutgoingSigning);
}

void frmManageUserKeys::EnableAll(bool enabled) {
  for (Control* control : std::initializer_list<Control*>{
           &cmdAdd, &cmdProperties, &cmdRemove, &chkDecryptAndVerifyIncoming, &chkEncryptOutgoing,
           &chkSignOutgoing, &chkLogDebuggingInfo, &optForgetWhen[0], &optForgetWhen[1],
           &optRemember[0], &optRemember[1], &fraPassphraseOptions, &fraSecureEmail}) {
    control->SetEnabled(enabled);
  }
  if (!enabled) return;
  chkSignOutgoing.SetEnabled(UserManagement::GetSigningAccount() != nullptr);
  UpdateButtons();
  ApplyPassphraseRule();
}

void frmManageUserKeys::Accept() {
  StorePreferences();
  Unload();
  // An add-in that was disabled when Outlook started has no timer yet.
  if (!g_bDisableKVPEntirely) StartHousekeeping();
}

void frmManageUserKeys::StorePreferences() {
  g_bDisableOutgoingEncryption = !chkEncryptOutgoing.Checked();
  g_bDisableOutgoingSigning = !chkSignOutgoing.Checked();
  g_bDisableAutoDecryptAndVerify = !chkDecryptAndVerifyIncoming.Checked();
  g_bDisableKVPEntirely = chkDisableKVP.Checked();
  g_bLogDebuggingInfo = chkLogDebuggingInfo.Checked();
  if (optRemember[0].Selected()) {
    g_lPassphraseMemory = 0;
  } else if (optForgetWhen[0].Selected()) {
    g_lPassphraseMemory = kForgetAfterEachUse;
  } else {
    g_lPassphraseMemory = ClampToInt32(std::floor(LeadingNumber(txtForgetWhen.Text())));
  }
}

void frmManageUserKeys::SaveSettings() {
  // The add-in was closed down during a prompt: memory no longer holds the user's settings.
  if (!g_bSettingsLoaded) return;
  ReplayUnsavedChanges();
  RegistryHandlers::WriteUserAccountInfo();
  unsaved_changes_.clear();
}

void frmManageUserKeys::RememberChange(bool added, const std::string& address) {
  // As accounts are compared: the registry can hold an address in capitals.
  const std::string key = LCase(Trim(address));
  std::erase_if(unsaved_changes_,
                [&](const UnsavedChange& change) { return change.address == key; });
  unsaved_changes_.push_back({added, key});
}

void frmManageUserKeys::ReplayUnsavedChanges() {
  // A reload while the dialog is open takes the accounts back to what was saved, and saving that
  // would lose the addresses that the dialog still lists.
  for (const UnsavedChange& change : unsaved_changes_) {
    if (change.added) {
      UserManagement::AddNimbraAccountUser(change.address);
    } else {
      UserManagement::RemoveNimbraAccountUser(change.address);
    }
  }
}

}  // namespace corvessa
