#pragma once

#include "accounts/nimbra_account.h"
#include "branding/branded_form.h"
#include "ui/controls.h"

namespace corvessa {

/// The options of one secured address. Changes that account's m_bSigning and nothing else; making
/// it the only signer is for the caller.
class frmAliasOptions final : public BrandedForm {
 public:
  /// The account is never null.
  explicit frmAliasOptions(NimbraAccountPtr account);

  Label Label1{*this, "Label1", {7, 62, 90, 13}, "Email address:"};
  Label lblEmailAddress{*this, "lblEmailAddress", {104, 62, 239, 26}};
  Frame fraOptions{*this, "fraOptions", {7, 95, 336, 75}, "Options"};
  CheckBox chkSign{
      *this, "chkSign", {17, 113, 316, 17}, "Use this address to &digitally sign outgoing email"};
  CommandButton cmdPassphrase{*this, "cmdPassphrase", {17, 137, 120, 23}, "&Change Passphrase"};
  CommandButton cmdOK{*this, "cmdOK", {186, 177, 75, 23}, "&Ok"};
  CommandButton cmdCancel{*this, "cmdCancel", {268, 177, 75, 23}, "&Cancel"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 336, 48}};

 private:
  void Form_Load() override;
  void Accept();

  NimbraAccountPtr account_;
};

}  // namespace corvessa
