#include "forms/frm_no_keys_found.h"

#include "forms/dialog_results.h"
#include "forms/frm_modal_show_in_taskbar.h"

namespace corvessa {

frmNoKeysFound::frmNoKeysFound()
    : BrandedForm("frmNoKeysFound", "Sending Email", 400, 247), result_(kResultClosed) {
  lstEmailAddr.SetSelectable(false);
  // Enter and Escape both keep the mail: nothing leaves in clear by a key pressed too early.
  cmdNo.SetDefault(true);
  cmdNo.SetCancel(true);
  cmdYes.OnClick = [this] { Choose(kResultYes); };
  cmdNo.OnClick = [this] { Choose(kResultNo); };
}

void frmNoKeysFound::SetHeading(std::string_view heading) {
  Label1.SetCaption(heading);
}

std::int32_t frmNoKeysFound::SendUnencrypted() {
  result_ = kResultClosed;
  ShowModalForm(*this);
  return result_;
}

void frmNoKeysFound::Choose(std::int32_t result) {
  result_ = result;
  Hide();
}

}  // namespace corvessa
