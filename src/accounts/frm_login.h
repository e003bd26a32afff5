#pragma once

#include <string_view>

#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "branding/branded_form.h"
#include "ui/controls.h"
#include "ui/list_controls.h"

namespace corvessa {

/// Asks for one of the user's addresses and its passphrase. It only collects: the engine
/// decides whether the passphrase is right. A new dialog is made for each request.
class frmLogin final : public BrandedForm {
 public:
  frmLogin();

  /// Offers the address (unless empty) and, with `list_all`, every other one that is not unlocked.
  /// The chosen account with the typed passphrase; null when cancelled. Throws what showing throws.
  NimbraAccountPtr DoLogin(LoginReason reason, std::string_view address, bool list_all);

  Label txtPrompt1{*this, "txtPrompt1", {7, 62, 386, 26}};
  Label txtPrompt2{*this, "txtPrompt2", {7, 98, 98, 13}, "Email Address:"};
  ComboBox cmbUsers{*this, "cmbUsers", {112, 95, 281, 21}};
  Label txtPrompt3{*this, "txtPrompt3", {7, 126, 98, 13}, "Passphrase:"};
  TextBox txtPassword{*this, "txtPassword", {112, 123, 281, 21}, TextBox::Kind::kPassword};
  CommandButton cmdOK{*this, "cmdOK", {236, 151, 75, 23}, "&Ok"};
  CommandButton cmdCancel{*this, "cmdCancel", {318, 151, 75, 23}, "&Cancel"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 386, 48}};

 private:
  void Form_Load() override;
  void Form_Activate() override;
  void OfferAddresses(std::string_view address, bool list_all);
  void Accept();
  void CancelLogin();

  bool accepted_ = false;
};

}  // namespace corvessa
