#include "forms/frm_about.h"

#include "base/text.h"
#include "branding/customization.h"
#include "platform/host.h"

namespace corvessa {

frmAbout::frmAbout() : Form("frmAbout", "About <!-- LONGNAME -->", 320, 148) {
  cmdOK.Default = true;
  cmdOK.Cancel = true;
  cmdNimbraSite.OnClick = [] { Customization::OpenMainPage(); };
  cmdOK.OnClick = [this] { Unload(); };
}

void frmAbout::Form_Load() {
  Customization::CustomizeForm(*this);
  const platform::ProductInfo& product = platform::Host().product;
  lblVersion.SetCaption("Version " + Decimal(product.major_version) + "." +
                        Decimal(product.minor_version) + "." + Decimal(product.revision));
}

}  // namespace corvessa
