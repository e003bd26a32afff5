#pragma once

#include <string>

#include "accounts/nimbra_account.h"
#include "branding/branded_form.h"
#include "ui/controls.h"
#include "ui/list_controls.h"

namespace corvessa {

/// Asks for the address that is to be secured.
class frmEMail final : public BrandedForm {
 public:
  frmEMail();

  /// The address entered, trimmed and in lower case; empty when cancelled.
  std::string GetUserDlg();

  Label Label1{*this,
               "Label1",
               {7, 62, 386, 26},
               "Enter the email address of the account you would like to secure:"};
  TextBox edEmail{*this, "edEmail", {7, 93, 386, 21}};
  CommandButton cmdOK{*this, "cmdOK", {154, 121, 75, 23}, "&Ok"};
  CommandButton cmdCancel{*this, "cmdCancel", {236, 121, 75, 23}, "&Cancel"};
  CommandButton cmdAddInstructions{*this, "cmdAddInstructions", {318, 121, 75, 23}, "&Help"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 386, 48}};

 private:
  void Form_Activate() override;
  void Accept();

  bool accepted_ = false;
};

/// The options of one secured address. Changes that account's m_bSigning and nothing else; the
/// caller makes it the only signer.
class frmAliasOptions final : public BrandedForm {
 public:
  /// The account is never null.
  explicit frmAliasOptions(NimbraAccountPtr account);

  Label Label1{*this, "Label1", {7, 62, 110, 13}, "Email address:"};
  Label lblEmailAddress{*this, "lblEmailAddress", {124, 62, 269, 26}};
  Frame fraOptions{*this, "fraOptions", {7, 95, 386, 75}, "Options"};
  CheckBox chkSign{
      *this, "chkSign", {17, 113, 366, 17}, "Use this address to &digitally sign outgoing email"};
  CommandButton cmdPassphrase{*this, "cmdPassphrase", {17, 137, 150, 23}, "&Change Passphrase"};
  CommandButton cmdOK{*this, "cmdOK", {236, 177, 75, 23}, "&Ok"};
  CommandButton cmdCancel{*this, "cmdCancel", {318, 177, 75, 23}, "&Cancel"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 386, 48}};

 private:
  void Form_Load() override;
  void Accept();

  NimbraAccountPtr account_;
};

/// Offers to create keys for one of the addresses that have none. The caller fills the list.
class frmNoKeyPairs final : public BrandedForm {
 public:
  frmNoKeyPairs();

  Label Label1{*this,
               "Label1",
               {7, 62, 386, 65},
               "The following email addresses do not yet have encryption keys registered on the "
               "Nimbra Key Server Network.  To receive secure email and digitally sign your "
               "outgoing email, select the address you would like to secure from the list below "
               "and click &Ok."};
  ListBox lstEmailAddr{*this, "lstEmailAddr", {7, 134, 386, 95}};
  CommandButton cmdOK{*this, "cmdOK", {236, 236, 75, 23}, "&Ok"};
  CommandButton cmdCancel{*this, "cmdCancel", {318, 236, 75, 23}, "Cancel"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 386, 48}};
};

}  // namespace corvessa
