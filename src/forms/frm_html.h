#pragma once

#include <cstdint>

#include "branding/branded_form.h"
#include "ui/controls.h"

namespace corvessa {

/// Warns that HTML mail cannot be secured and lets the user choose what to give up.
class frmHTML final : public BrandedForm {
 public:
  frmHTML();

  /// kResultYes: convert to plain text and send securely; kResultSendAsIs: send HTML in clear;
  /// kResultClosed: closed without a choice.
  std::int32_t Result() const { return result_; }

  Label Label1{*this,
               "Label1",
               {7, 62, 386, 13},
               "HTML formatted emails can not be encrypted or digitally signed."};
  CommandButton cmdConvert{
      *this, "cmdConvert", {55, 82, 290, 23}, "&Convert to plain text and send securely"};
  CommandButton cmdSend{
      *this, "cmdSend", {55, 112, 290, 23}, "&Send HTML formatted email without encryption"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 386, 48}};

 private:
  void Form_Load() override;
  void Choose(std::int32_t result);

  std::int32_t result_;
};

}  // namespace corvessa
