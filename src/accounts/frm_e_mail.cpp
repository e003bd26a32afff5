#include "accounts/frm_e_mail.h"

#include "base/address.h"
#include "branding/customization.h"
#include "branding/message_box.h"
#include "forms/frm_modal_show_in_taskbar.h"

namespace corvessa {
frmEMail::frmEMail() : BrandedForm("frmEMail", "Add Secure Email Account", 400, 138) {
  cmdOK.SetDefault(true);
  cmdOK.SetEnabled(false);
  cmdCancel.SetCancel(true);
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

}  // namespace corvessa
