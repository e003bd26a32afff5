#pragma once

#include <cstdint>
#include <string_view>

#include "branding/branded_form.h"
#include "ui/controls.h"

namespace corvessa {

/// The branded message box, for the questions that the system's own box is not used for.
class frmGeneric final : public BrandedForm {
 public:
  static constexpr std::int32_t kOkOnly = 0;
  static constexpr std::int32_t kOkCancel = 1;
  static constexpr std::int32_t kYesNo = 4;

  frmGeneric();

  /// The form grows with its message.
  void setMessage(std::string_view message);
  /// kOkOnly, kYesNo; anything else is kOkCancel.
  void setType(std::int32_t type);
  /// kResultOk, kResultCancel, kResultYes, kResultNo; kResultClosed when closed without a choice.
  std::int32_t Result() const { return result_; }

  Label lblMessage{*this, "lblMessage", {7, 62, 386, 13}};
  CommandButton cmdOK{*this, "cmdOK", {236, 82, 75, 23}, "&Ok"};
  CommandButton cmdCancel{*this, "cmdCancel", {318, 82, 75, 23}, "&Cancel"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 386, 48}};

 private:
  void Choose(std::int32_t result);

  std::int32_t type_ = kOkCancel;
  std::int32_t result_;
};

/// Which button Enter presses.
enum class DefaultButton { kOk, kCancel };

/// Shows a message of that type modally and gives the result.
std::int32_t ShowGeneric(std::string_view message, std::int32_t type,
                         DefaultButton default_button = DefaultButton::kOk);

}  // namespace corvessa
