#pragma once

#include <cstdint>
#include <string_view>

#include "branding/branded_form.h"
#include "ui/controls.h"
#include "ui/list_controls.h"

namespace corvessa {

/// What the dialogs that return a choice answer; the values of the standard message box, and two of
/// the add-in's own.
inline constexpr std::int32_t kResultOk = 1;
inline constexpr std::int32_t kResultCancel = 2;
inline constexpr std::int32_t kResultClosed = 3;
inline constexpr std::int32_t kResultSendAsIs = 5;
/// Yes, or convert.
inline constexpr std::int32_t kResultYes = 6;
inline constexpr std::int32_t kResultNo = 7;

/// Names the product, its version and its web site.
class frmAbout final : public BrandedForm {
 public:
  frmAbout();

  Label lblTitle{*this, "lblTitle", {7, 62, 306, 13}, "<!-- LONGNAME -->"};
  Label lblVersion{*this, "lblVersion", {7, 80, 306, 13}};
  Label lblDescription{
      *this, "lblDescription", {7, 98, 306, 13}, "Powered by the Nimbra Encryption Engine"};
  CommandButton cmdNimbraSite{
      *this, "cmdNimbraSite", {7, 118, 160, 23}, "<!-- SHORTNAME --> &Web Site"};
  CommandButton cmdOK{*this, "cmdOK", {238, 118, 75, 23}, "&Ok"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 306, 48}};

 private:
  void Form_Load() override;
};

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

/// Warns that HTML mail cannot be secured and lets the user choose what to give up.
class frmHTML final : public BrandedForm {
 public:
  frmHTML();

  /// kResultYes: convert to plain text and send securely; kResultSendAsIs: send HTML in clear;
  /// kResultClosed: closed without a choice.
  std::int32_t Result() const { return result_; }

  Label Label1{*this,
               "Label1",
               {7, 62, 386, 26},
               "HTML formatted emails can not be encrypted or digitally signed."};
  CommandButton cmdConvert{
      *this, "cmdConvert", {30, 95, 340, 23}, "&Convert to plain text and send securely"};
  CommandButton cmdSend{
      *this, "cmdSend", {30, 125, 340, 23}, "&Send HTML formatted email without encryption"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 386, 48}};

 private:
  void Form_Load() override;
  void Choose(std::int32_t result);

  std::int32_t result_;
};

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
