#include "accounts/frm_alias_options.h"

#include <utility>

#include "accounts/nimbra_account.h"
#include "branding/customization.h"
#include "settings/edition.h"

namespace corvessa {

frmAliasOptions::frmAliasOptions(NimbraAccountPtr account)
    : BrandedForm("frmAliasOptions", "Secure Email Address Options", 350, 207),
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

}  // namespace corvessa
