#include "accounts/frm_e_mail.h"

#include <string_view>

#include "base/text.h"
#include "branding/customization.h"
#include "branding/message_box.h"
#include "forms/frm_modal_show_in_taskbar.h"

namespace corvessa {
namespace {

/// A coarse test that catches slips of the pen; whether the address exists is for the key servers
/// to say.
bool LooksLikeAddress(std::string_view text) {
  text = Trim(text);
  const std::size_t at = text.find('@');
  if (at == std::string_view::npos || at == 0) return false;
  const std::size_t dot = text.find('.', at);
  return dot != std::string_view::npos && dot > at + 1 && dot + 1 < text.size() &&
         !text.ends_with('.');
}

}  // namespace

frmEMail::frmEMail() : BrandedForm("frmEMail", "Add Secure Email Account", 400, 138) {
  cmdOK.Default = true;
  cmdOK.Enabled = false;
  cmdCancel.Cancel = true;
  edEmail.OnChange = [this] { cmdOK.Enabled = !edEmail.Text().empty(); };
  cmdOK.OnClick = [this] { Accept(); };
  cmdCancel.OnClick = [this] { Hide(); };
  cmdAddInstructions.OnClick = [] { Customization::OpenHelpAddInstructionsPage(); };
}

std::string frmEMail::GetUserDlg() {
  accepted_ = false;
  edEmail.SetText("");
  ShowModalForm(*this);
  return accepted_ ? LCase(Trim(edEmail.Text())) : "";
}

void frmEMail::Form_Activate() {
  SetFocus(edEmail);
}

void frmEMail::Accept() {
  const std::string address = LCase(Trim(edEmail.Text()));
  edEmail.SetText(address);
  if (address.empty()) return;
  if (!LooksLikeAddress(address)) {
    Tell("Please enter a valid email address");
    return;
  }
  accepted_ = true;
  Hide();
}

}  // namespace corvessa
