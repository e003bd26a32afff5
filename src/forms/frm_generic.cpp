#include "forms/frm_generic.h"

#include <memory>

#include "forms/dialog_results.h"
#include "forms/frm_modal_show_in_taskbar.h"
#include "ui/text_layout.h"
#include "ui/unload_at_end.h"

namespace corvessa {

frmGeneric::frmGeneric()
    : BrandedForm("frmGeneric", "<!-- LONGNAME -->", 400, 112), result_(kResultClosed) {
  lblMessage.UseMnemonic = false;
  cmdOK.Default = true;
  cmdCancel.Cancel = true;
  cmdOK.OnClick = [this] { Choose(type_ == kYesNo ? kResultYes : kResultOk); };
  cmdCancel.OnClick = [this] { Choose(type_ == kYesNo ? kResultNo : kResultCancel); };
}

void frmGeneric::setMessage(std::string_view message) {
  lblMessage.SetCaption(message);
  const int height = WrappedLineCount(message, lblMessage.Bounds.width) * kTextLineHeight;
  const int growth = height - lblMessage.Bounds.height;
  lblMessage.Bounds.height = height;
  cmdOK.Bounds.top += growth;
  cmdCancel.Bounds.top += growth;
  Height += growth;
}

void frmGeneric::setType(std::int32_t type) {
  type_ = type;
  if (type == kYesNo) {
    cmdOK.SetCaption("Yes");
    cmdCancel.SetCaption("No");
  } else if (type == kOkOnly) {
    cmdCancel.Visible = false;
    cmdOK.Cancel = true;
    cmdOK.Bounds.left = (Width - cmdOK.Bounds.width) / 2;
  }
}

void frmGeneric::Choose(std::int32_t result) {
  result_ = result;
  Hide();
}

std::int32_t ShowGeneric(std::string_view message, std::int32_t type,
                         DefaultButton default_button) {
  const auto form = std::make_shared<frmGeneric>();
  form->cmdOK.Default = default_button == DefaultButton::kOk;
  form->cmdCancel.Default = default_button == DefaultButton::kCancel;
  form->setMessage(message);
  form->setType(type);
  const UnloadAtEnd unload(*form);
  ShowModalForm(*form);
  return form->Result();
}

}  // namespace corvessa
