#include "accounts/frm_login.h"

#include <memory>
#include <string>

#include "accounts/user_management.h"
#include "base/debug_info.h"
#include "base/guard.h"
#include "branding/branded_form.h"
#include "platform/host.h"
#include "platform/ui.h"
#include "settings/edition.h"

namespace corvessa {
namespace {

constexpr const char* kWrongPassphrase = "You entered an incorrect passphrase.  Please try again.";

std::string PromptFor(LoginReason reason) {
  if (reason == LoginReason::kWrongPassphrase) return kWrongPassphrase;
  if (reason == LoginReason::kCannotDecrypt) {
    return "Unable to decrypt email.  Please select a different email address.";
  }
  return "Please enter your " + Customization::AppShortName() + " passphrase.";
}

/// Empties the passphrase box, which wipes what was typed, however the request ends.
class WipeAtEnd {
 public:
  explicit WipeAtEnd(TextBox& box) : box_(box) {}
  ~WipeAtEnd() {
    Ignoring([&] { box_.SetText(""); });
  }
  WipeAtEnd(const WipeAtEnd&) = delete;
  WipeAtEnd& operator=(const WipeAtEnd&) = delete;

 private:
  TextBox& box_;
};

}  // namespace

frmLogin::frmLogin() : BrandedForm("frmLogin", "Sign In To Your Secure Email", 400, 181) {
  cmdOK.SetDefault(true);
  cmdCancel.SetCancel(true);
  txtPassword.OnChange = [this] { cmdOK.SetEnabled(!txtPassword.Text().empty()); };
  cmdOK.OnClick = [this] { Accept(); };
  cmdCancel.OnClick = [this] { CancelLogin(); };
}

NimbraAccountPtr frmLogin::DoLogin(LoginReason reason, std::string_view address, bool list_all,
                                   std::string_view encrypted_to) {
  const UnloadAtEnd unload(*this);
  const WipeAtEnd wipe(txtPassword);
  Load();
  txtPrompt1.SetCaption(PromptFor(reason));
  OfferAddresses(address, list_all);
  cmbUsers.Select(0);
  encrypted_to_ = encrypted_to;
  if (!encrypted_to_.empty()) cmbUsers.SetHint("Encrypted to " + encrypted_to_);
  ShowModalForm(*this);
  if (!accepted_) return nullptr;
  auto account = UserManagement::GetNimbraAccountUser(cmbUsers.SelectedText());
  if (account) account->m_sPassword.Assign(txtPassword.Text());
  return account;
}

void frmLogin::OfferAddresses(std::string_view address, bool list_all) {
  if (!address.empty()) cmbUsers.AddRow(std::string(address));
  if (!list_all) return;
  for (const NimbraAccountPtr& account : g_colAccounts) {
    Debug_Info::TraceLog([&] { return "Checking account " + account->m_sAlias; });
    if (account->m_sAlias == address || account->GetAuthenticated()) continue;
    Debug_Info::TraceLog([&] { return "Adding item " + account->m_sAlias; });
    cmbUsers.AddRow(account->m_sAlias);
    Debug_Info::TraceLog([&] { return "Added item " + account->m_sAlias; });
  }
}

void frmLogin::Form_Load() {
  BrandedForm::Form_Load();
  accepted_ = false;
  SetTopmost(true);
}

void frmLogin::Form_Activate() {
  cmdOK.SetEnabled(false);
  SetFocus(txtPassword);
}

void frmLogin::Accept() {
  if (!txtPassword.Text().empty()) {
    accepted_ = true;
    Hide();
  }
  platform::Host().ui.DoEvents();
}

void frmLogin::CancelLogin() {
  Hide();
  platform::Host().ui.DoEvents();
}

frmPassphrase::frmPassphrase() : BrandedForm("frmPassphrase", "Open Encrypted Message", 400, 153) {
  txtPrompt1.SetCaption(
      "This message is encrypted with a passphrase of its own.  Its sender can tell you which.");
  cmdOK.SetDefault(true);
  cmdOK.SetEnabled(false);
  cmdCancel.SetCancel(true);
  txtPassword.OnChange = [this] { cmdOK.SetEnabled(!txtPassword.Text().empty()); };
  cmdOK.OnClick = [this] {
    accepted_ = true;
    Hide();
  };
  cmdCancel.OnClick = [this] { Hide(); };
}

std::optional<SecretString> frmPassphrase::Ask(bool was_wrong) {
  const UnloadAtEnd unload(*this);
  const WipeAtEnd wipe(txtPassword);
  Load();
  accepted_ = false;
  if (was_wrong) txtPrompt1.SetCaption(kWrongPassphrase);
  ShowModalForm(*this);
  if (!accepted_) return std::nullopt;
  return SecretString(txtPassword.Text());
}

void frmPassphrase::Form_Activate() {
  SetFocus(txtPassword);
}

NimbraAccountPtr UserManagement::GetLoginAccount(LoginReason reason, std::string_view address,
                                                 bool list_all, std::string_view encrypted_to) {
  return Guarded(":DoLogin - ", NimbraAccountPtr(), [&]() -> NimbraAccountPtr {
    if (!address.empty()) {
      NimbraAccountPtr account = GetNimbraAccountUser(address);
      if (!account) Raise(kObjectNotSet);
      if (account->GetAuthenticated()) return account;
    }
    if (!AreThereUnauthenticatedAccounts()) return nullptr;
    return std::make_shared<frmLogin>()->DoLogin(reason, address, list_all, encrypted_to);
  });
}

}  // namespace corvessa
