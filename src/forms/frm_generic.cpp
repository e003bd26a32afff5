#include "forms/frm_generic.h"

#include <memory>

#include "forms/dialog_results.h"
#include "forms/frm_modal_show_in_taskbar.h"
#include "ui/text_layout.h"

namespace corvessa {

frmGeneric::frmGeneric()
    : BrandedForm("frmGeneric", "<!-- LONGNAME -->", 400, 112), result_(kResultClosed) {
  lblMessage.SetUseMnemonic(false);
  cmdOK.SetDefault(true);
  cmdCancel.SetCancel(true);
  cmdOK.OnClick = [this] { Choose(type_ == kYesNo ? kResultYes : kResultOk); };
  cmdCancel.OnClick = [this] { Choose(type_ == kYesNo ? kResultNo : kResultCancel); };
}

void frmGeneric::setMessage(std::string_view message) {
  lblMessage.SetCaption(message);
  Rect bounds = lblMessage.Bounds();
  const int growth = WrappedLineCount(message, bounds.width) * kTextLineHeight - bounds.height;
  bounds.height += growth;
  lblMessage.SetBounds(bounds);
  for (CommandButton* button : {&cmdOK, &cmdCancel}) {
    bounds = button->Bounds();
    bounds.top += growth;
    button->SetBounds(bounds);
  }
  SetSize(Width(), Height() + growth);
}

void frmGeneric::setType(std::int32_t type) {
  type_ = type;
  if (type == kYesNo) {
    cmdOK.SetCaption("Yes");
    cmdCancel.SetCaption("No");
  } else if (type == kOkOnly) {
    cmdCancel.SetVisible(false);
    cmdOK.SetCancel(true);
    Rect bounds = cmdOK.Bounds();
    bounds.left = (Width() - bounds.width) / 2;
    cmdOK.SetBounds(bounds);
  }
}

void frmGeneric::Choose(std::int32_t result) {
  result_ = result;
  Hide();
}

std::int32_t ShowGeneric(std::string_view message, std::int32_t type,
                         DefaultButton default_button) {
  const auto form = std::make_shared<frmGeneric>();
  form->cmdOK.SetDefault(default_button == DefaultButton::kOk);
  form->cmdCancel.SetDefault(default_button == DefaultButton::kCancel);
  form->setMessage(message);
  form->setType(type);
  const UnloadAtEnd unload(*form);
  ShowModalForm(*form);
  return form->Result();
}

}  // namespace corvessa
