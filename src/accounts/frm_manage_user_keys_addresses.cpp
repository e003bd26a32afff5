#include "accounts/address_dialogs.h"
#include "accounts/frm_manage_user_keys.h"
#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "base/guard.h"
#include "base/text.h"
#include "branding/branded_form.h"
#include "branding/customization.h"
#include "branding/message_box.h"
#include "crypto/crypto_operations.h"
#include "forms/dialogs.h"
#include "settings/edition.h"
#include "settings/settings.h"

namespace corvessa {
namespace {

std::string AskForAddress() {
  const auto form = std::make_shared<frmEMail>();
  const UnloadAtEnd unload(*form);
  return form->GetUserDlg();
}

}  // namespace

void frmManageUserKeys::Add() {
  const std::string address = AskForAddress();
  if (address.empty() || !IsLoaded()) return;
  if (!g_bDisableKeyGen) AddAccount(address);
  UpdateButtons();
  const std::int32_t answer = Guarded("frmManageUserKeys::cmdAdd_Click - ", kKeyPairUnknown,
                                      [&] { return Crypto()->HasKeypair(address); });
  if (answer == kNoKeyPair) {
    ReportMissingKeyPair(address);
  } else if (answer != kHasKeyPair) {
    Tell("Unable to connect to key server");
  } else {
    if (g_bDisableKeyGen) AddAccount(address);
    OfferImapAccess(address);
  }
  UpdateButtons();
}

void frmManageUserKeys::AddAccount(std::string_view address) {
  if (!UserManagement::IsAccountAdded(address)) return;
  RememberChange(true, std::string(address));
  lstvwAliases.AddRow(std::string(address));
}

void frmManageUserKeys::ReportMissingKeyPair(std::string_view address) {
  const std::string message = "The email address " + std::string(address) +
                              " is not secured on the key server network.\r\n";
  if (g_bDisableKeyGen) {
    Tell(message + "To create a new email address which is compatible with " +
         Customization::AppShortName() + " please visit:\r\n\r\n\t" +
         RegistryHandlers::GetVersionValue("URLMain"));
  } else if (Confirm(message + "Secure this email address now?")) {
    Customization::OpenKeyGenPage(address);
  }
}

void frmManageUserKeys::OfferImapAccess(std::string_view address) {
  const std::string check_page = RegistryHandlers::GetVersionValue("URLIMAPCheck");
  if (check_page.empty() || RegistryHandlers::GetVersionValue("URLIMAPInfo").empty()) return;
  const std::string answer = Guarded("frmManageUserKeys::cmdAdd_Click - ", std::string(), [&] {
    return Inet1.OpenURL(Customization::AddressWithAlias(check_page, address));
  });
  if (LeadingNumber(answer) == 0) return;
  const std::string long_name = Customization::AppLongName();
  const std::string message =
      long_name + " was created for " + Customization::AppShortName() +
      " users who have\r\nalready enabled IMAP access to their email.\r\n\r\n"
      "To find out more about enabling IMAP access, click OK\r\n"
      "To continue using " +
      long_name + ", click Cancel";
  if (Confirm(message)) {
    Customization::OpenIMAPInfoPage(address);
  }
}

void frmManageUserKeys::Remove() {
  if (lstvwAliases.Selected() < 0) return;
  const std::string address = lstvwAliases.SelectedText();
  const std::int32_t answer =
      ShowGeneric("Are you sure you want to remove the secure email address '" + address + "' ?",
                  frmGeneric::kYesNo);
  if (answer != kResultYes) return;
  UserManagement::RemoveNimbraAccountUser(address);
  RememberChange(false, address);
  for (int row = lstvwAliases.RowCount() - 1; row >= 0; --row) {
    if (lstvwAliases.Row(row) == address) lstvwAliases.RemoveRow(row);
  }
  UpdateButtons();
}

void frmManageUserKeys::ShowProperties() {
  if (g_colAccounts.empty() || lstvwAliases.Selected() < 0) return;
  const std::string address = lstvwAliases.SelectedText();
  const NimbraAccountPtr account = UserManagement::GetNimbraAccountUser(address);
  if (!account) {
    ShowGeneric("Error encountered getting account details", frmGeneric::kOkOnly);
    return;
  }
  const bool awaits_signer = !chkSignOutgoing.Checked() && !UserManagement::GetSigningAccount();
  const auto options = std::make_shared<frmAliasOptions>(account);
  const UnloadAtEnd unload(*options);
  ShowModalForm(*options);
  if (!IsLoaded()) return;
  // The settings may have been reloaded meanwhile, which makes the accounts anew.
  if (const NimbraAccountPtr current = UserManagement::GetNimbraAccountUser(address)) {
    current->m_bSigning = account->m_bSigning;
  }
  if (awaits_signer && UserManagement::GetSigningAccount()) {
    g_bDisableOutgoingSigning = false;
    chkSignOutgoing.SetChecked(true);
  }
  if (account->m_bSigning) UserManagement::SetAsSignerAccount(address);
  RefreshSignerIcons();
  ApplySigningRule();
}

void frmManageUserKeys::RefreshSignerIcons() {
  for (int row = 0; row < lstvwAliases.RowCount(); ++row) {
    const NimbraAccountPtr account = UserManagement::GetNimbraAccountUser(lstvwAliases.Row(row));
    lstvwAliases.SetSmallIcon(row,
                              account && account->m_bSigning ? imglstAliases.Keys().front() : "");
  }
}

}  // namespace corvessa
