#include "accounts/frm_no_key_pairs.h"

#include "branding/customization.h"

namespace corvessa {

frmNoKeyPairs::frmNoKeyPairs()
    : BrandedForm("frmNoKeyPairs", "Create Your Encryption Keys", 400, 266) {
  cmdOK.SetDefault(true);
  cmdOK.SetEnabled(false);
  cmdCancel.SetCancel(true);
  lstEmailAddr.OnClick = [this] { cmdOK.SetEnabled(lstEmailAddr.Selected() >= 0); };
  cmdOK.OnClick = [this] {
    Customization::OpenKeyGenPage(lstEmailAddr.SelectedText());
    Unload();
  };
  cmdCancel.OnClick = [this] { Unload(); };
}

}  // namespace corvessa
