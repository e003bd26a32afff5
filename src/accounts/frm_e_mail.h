#pragma once

#include <string>

#include "branding/branded_form.h"
#include "ui/controls.h"

namespace corvessa {

/// Asks for the address that is to be secured.
class frmEMail final : public BrandedForm {
 public:
  frmEMail();

  /// The address entered, trimmed and in lower case; empty when cancelled.
  std::string GetUserDlg();

  Label Label1{*this,
               "Label1",
               {7, 62, 386, 13},
               "Enter the email address of the account you would like to secure:"};
  TextBox edEmail{*this, "edEmail", {7, 80, 386, 21}};
  CommandButton cmdOK{*this, "cmdOK", {154, 108, 75, 23}, "&Ok"};
  CommandButton cmdCancel{*this, "cmdCancel", {236, 108, 75, 23}, "&Cancel"};
  CommandButton cmdAddInstructions{*this, "cmdAddInstructions", {318, 108, 75, 23}, "&Help"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 386, 48}};

 private:
  void Form_Activate() override;
  void Accept();

  bool accepted_ = false;
};

}  // namespace corvessa
