#pragma once

#include <cstdint>
#include <string_view>

#include "branding/branded_form.h"
#include "ui/controls.h"
#include "ui/list_controls.h"

namespace corvessa {

/// Shows the recipients that cannot get secure mail and asks whether to send in clear. The caller
/// fills the list and unloads the form.
class frmNoKeysFound final : public BrandedForm {
 public:
  frmNoKeysFound();

  /// Another reason than the usual one why these recipients are listed.
  void SetHeading(std::string_view heading);
  /// kResultYes: send without encryption; kResultNo: do not; kResultClosed: closed without a
  /// choice.
  std::int32_t SendUnencrypted();

  Label Label1{*this,
               "Label1",
               {7, 62, 386, 26},
               "The following recipients are not registered to receive secure email:"};
  ListBox lstEmailAddr{*this, "lstEmailAddr", {7, 95, 386, 95}};
  Label Label2{
      *this, "Label2", {7, 197, 386, 13}, "Would you like to send this email without encryption?"};
  CommandButton cmdYes{*this, "cmdYes", {236, 217, 75, 23}, "&Yes"};
  CommandButton cmdNo{*this, "cmdNo", {318, 217, 75, 23}, "&No"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 386, 48}};

 private:
  void Choose(std::int32_t result);

  std::int32_t result_;
};

}  // namespace corvessa
