#include "forms/frm_about.h"

#include "branding/customization.h"
#include "settings/edition.h"

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

}  // namespace corvessa
