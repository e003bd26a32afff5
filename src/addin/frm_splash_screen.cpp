#include "addin/frm_splash_screen.h"

#include "platform/host.h"
#include "platform/ui.h"
#include "settings/edition.h"

namespace corvessa {
namespace {

/// Paints what has changed while start-up blocks the thread.
void PaintNow() {
  platform::Host().ui.DoEvents();
}

}  // namespace

frmSplashScreen::frmSplashScreen()
    : BrandedForm("frmSplashScreen", "", 400, 116),
      imgSplashImage(*this, "imgSplashImage", {0, 0, 400, 59}),
      lblAppInfo(*this, "lblAppInfo", {7, 66, 386, 17}),
      lblCaption(*this, "lblCaption", {7, 90, 386, 17}) {
  // An address may hold "&".
  lblCaption.SetUseMnemonic(false);
  lblAppInfo.SetUseMnemonic(false);
  lblAppInfo.OnChange = PaintNow;
  lblCaption.OnChange = PaintNow;
}

void frmSplashScreen::SetCaption(std::string_view text) {
  lblCaption.SetCaption(text);
}

void frmSplashScreen::Form_Load() {
  BrandedForm::Form_Load();
  lblAppInfo.SetCaption(Customization::AppLongName() + " Version " + VersionText(RunningVersion()));
}

}  // namespace corvessa
