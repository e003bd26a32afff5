#include "forms/dialogs.h"

#include <memory>

#include "branding/branded_form.h"
#include "branding/customization.h"
#include "settings/edition.h"
#include "ui/text_layout.h"

namespace corvessa {

frmAbout::frmAbout() : BrandedForm("frmAbout", "About <!-- LONGNAME -->", 320, 148) {
  cmdOK.SetDefault(true);
  cmdOK.SetCancel(true);
  cmdNimbraSite.OnClick = [] { Customization::OpenMainPage(); };
  cmdOK.OnClick = [this] { Unload(); };
}

void frmAbout::Form_Load() {
  BrandedForm::Form_Load();
  lblVersion.SetCaption("Version " + VersionText(RunningVersion()));
}

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

frmHTML::frmHTML()
    : BrandedForm("frmHTML", "HTML Message Warning", 400, 155), result_(kResultClosed) {
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
