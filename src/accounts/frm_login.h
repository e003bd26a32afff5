#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "accounts/nimbra_account.h"
#include "branding/branded_form.h"
#include "ui/controls.h"
#include "ui/list_controls.h"

namespace corvessa {

/// Why a passphrase is asked for.
enum class LoginReason : std::int32_t {
  kFirstRequest = 0,
  kWrongPassphrase = 1,
  kCannotDecrypt = 2
};

/// Asks for one of the user's addresses and its passphrase. It only collects: the engine
/// decides whether the passphrase is right. A new dialog is made for each request.
class frmLogin final : public BrandedForm {
 public:
  frmLogin();

  /// Offers the address (unless empty) and, with `list_all`, every other one that is not unlocked.
  /// The chosen account with the typed passphrase; null when cancelled. Throws what showing throws.
  /// `encrypted_to`, if any, is the address that the message is encrypted to: the user is told, and
  /// who answers for the user chooses it.
  NimbraAccountPtr DoLogin(LoginReason reason, std::string_view address, bool list_all,
                           std::string_view encrypted_to = {});
  const std::string& EncryptedTo() const { return encrypted_to_; }

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
  std::string encrypted_to_;
};

/// Asks for the passphrase that a message itself is encrypted with, which belongs to no address.
class frmPassphrase final : public BrandedForm {
 public:
  frmPassphrase();

  /// The typed passphrase; nothing when cancelled.
  std::optional<SecretString> Ask(bool was_wrong);

  Label txtPrompt1{*this, "txtPrompt1", {7, 62, 386, 26}};
  Label txtPrompt3{*this, "txtPrompt3", {7, 98, 98, 13}, "Passphrase:"};
  TextBox txtPassword{*this, "txtPassword", {112, 95, 281, 21}, TextBox::Kind::kPassword};
  CommandButton cmdOK{*this, "cmdOK", {236, 123, 75, 23}, "&Ok"};
  CommandButton cmdCancel{*this, "cmdCancel", {318, 123, 75, 23}, "&Cancel"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 386, 48}};

 private:
  void Form_Activate() override;

  bool accepted_ = false;
};

namespace UserManagement {

/// The account at once when it is authenticated, else what the passphrase dialog gives: the account
/// with the typed passphrase, null when the user cancelled. Does not check the passphrase.
/// See frmLogin::DoLogin for `encrypted_to`.
NimbraAccountPtr GetLoginAccount(LoginReason reason, std::string_view address, bool list_all,
                                 std::string_view encrypted_to = {});

}  // namespace UserManagement

/// How often the user is asked before an operation gives up.
inline constexpr int kPassphraseAttempts = 3;

/// A typed passphrase that the engine has not accepted yet. Unless Accept is called, the destructor
/// wipes it, also after an engine call that throws.
class PassphraseTrial {
 public:
  explicit PassphraseTrial(NimbraAccountPtr account) : account_(std::move(account)) {}
  ~PassphraseTrial() {
    if (accepted_) return;
    // The user is asked again for a locked account only.
    account_->SetAuthenticated(false);
    account_->m_sPassword.Clear();
  }
  PassphraseTrial(const PassphraseTrial&) = delete;
  PassphraseTrial& operator=(const PassphraseTrial&) = delete;

  void Accept() { accepted_ = true; }

 private:
  NimbraAccountPtr account_;
  bool accepted_ = false;
};

}  // namespace corvessa
