#include "accounts/address_dialogs.h"

#include <utility>

#include "accounts/nimbra_account.h"
#include "base/address.h"
#include "branding/branded_form.h"
#include "branding/customization.h"
#include "branding/message_box.h"
#include "settings/edition.h"

namespace corvessa {

frmEMail::frmEMail() : BrandedForm("frmEMail", "Add Secure Email Account", 400, 151) {
  cmdOK.SetDefault(true);
  cmdOK.SetEnabled(false);
  cmdCancel.SetCancel(true);
  cmdAddInstructions.SetHelp(true);
  edEmail.OnChange = [this] { cmdOK.SetEnabled(!edEmail.Text().empty()); };
  cmdOK.OnClick = [this] { Accept(); };
  cmdCancel.OnClick = [this] { Hide(); };
  cmdAddInstructions.OnClick = [] { Customization::OpenHelpAddInstructionsPage(); };
}

std::string frmEMail::GetUserDlg() {
  accepted_ = false;
  edEmail.SetText("");
  ShowModalForm(*this);
  return accepted_ ? NormalAddress(edEmail.Text()) : "";
}

void frmEMail::Form_Activate() {
  SetFocus(edEmail);
}

void frmEMail::Accept() {
  const std::string address = NormalAddress(edEmail.Text());
  edEmail.SetText(address);
  if (address.empty()) return;
  if (!IsAddress(address)) {
    Tell("Please enter a valid email address");
    return;
  }
  accepted_ = true;
  Hide();
}

frmAliasOptions::frmAliasOptions(NimbraAccountPtr account)
    : BrandedForm("frmAliasOptions", "Secure Email Address Options", 400, 207),
      account_(std::move(account)) {
  lblEmailAddress.SetUseMnemonic(false);
  fraOptions.Hold({&chkSign, &cmdPassphrase});
  cmdOK.SetDefault(true);
  cmdCancel.SetCancel(true);
  cmdPassphrase.OnClick = [this] { Customization::OpenPassphrasePage(account_->m_sAlias); };
  cmdOK.OnClick = [this] { Accept(); };
  cmdCancel.OnClick = [this] { Unload(); };
}

void frmAliasOptions::Form_Load() {
  BrandedForm::Form_Load();
  cmdPassphrase.SetVisible(!RegistryHandlers::GetVersionValue("URLPassphrase").empty());
  lblEmailAddress.SetCaption(account_->m_sAlias);
  chkSign.SetChecked(account_->m_bSigning);
}

void frmAliasOptions::Accept() {
  account_->m_bSigning = chkSign.Checked();
  Unload();
}

frmNoKeyPairs::frmNoKeyPairs()
    : BrandedForm("frmNoKeyPairs", "Create Your Encryption Keys", 400, 266) {
  cmdOK.SetDefault(true);
  cmdOK.SetEnabled(false);
  cmdCancel.SetCancel(true);
  lstEmailAddr.OnClick = [this] { cmdOK.SetEnabled(lstEmailAddr.Selected() >= 0); };
  cmdOK.OnClick = [this] {
    Customization::OpenKeyGenPage(lstEmailAddr.SelectedText());
    Unload();
  };
  cmdCancel.OnClick = [this] { Unload(); };
}

}  // namespace corvessa
