#pragma once

#include "branding/branded_form.h"
#include "ui/controls.h"
#include "ui/list_controls.h"

namespace corvessa {

/// Offers to create keys for one of the addresses that have none. The caller fills the list.
class frmNoKeyPairs final : public BrandedForm {
 public:
  frmNoKeyPairs();

  Label Label1{*this,
               "Label1",
               {7, 62, 386, 65},
               "The following email addresses do not yet have encryption keys registered on the "
               "Nimbra Key Server Network.  To receive secure email and digitally sign your "
               "outgoing email, select the address you would like to secure from the list below "
               "and click &Ok."};
  ListBox lstEmailAddr{*this, "lstEmailAddr", {7, 134, 386, 95}};
  CommandButton cmdOK{*this, "cmdOK", {236, 236, 75, 23}, "&Ok"};
  CommandButton cmdCancel{*this, "cmdCancel", {318, 236, 75, 23}, "Cancel"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 386, 48}};
};

}  // namespace corvessa
