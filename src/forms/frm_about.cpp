#include "forms/frm_about.h"

#include "addin/version.h"
#include "branding/customization.h"

namespace corvessa {

frmAbout::frmAbout() : Form("frmAbout", "About <!-- LONGNAME -->", 320, 148) {
  cmdOK.Default = true;
  cmdOK.Cancel = true;
  cmdNimbraSite.OnClick = [] { Customization::OpenMainPage(); };
  cmdOK.OnClick = [this] { Unload(); };
}

void frmAbout::Form_Load() {
  Form::Form_Load();
  lblVersion.SetCaption("Version " + TextOf(RunningVersion()));
}

}  // namespace corvessa
