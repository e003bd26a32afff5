#include "forms/frm_html.h"

#include "forms/dialog_results.h"

namespace corvessa {

frmHTML::frmHTML()
    : BrandedForm("frmHTML", "HTML Message Warning", 400, 142), result_(kResultClosed) {
  // No cancel button: both buttons send the mail, so only the close box gives up sending.
  cmdConvert.SetDefault(true);
  cmdConvert.OnClick = [this] { Choose(kResultYes); };
  cmdSend.OnClick = [this] { Choose(kResultSendAsIs); };
}

void frmHTML::Form_Load() {
  BrandedForm::Form_Load();
  result_ = kResultClosed;
}

void frmHTML::Choose(std::int32_t result) {
  result_ = result;
  Hide();
}

}  // namespace corvessa
