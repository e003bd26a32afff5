#pragma once

#include "branding/branded_form.h"
#include "platform/outlook.h"
#include "ui/controls.h"

namespace corvessa {

/// Asks for the choices of a message that was never in a window with the options bar, because
/// another program sends it. The choices are stored in the item at once and after every click, so
/// that the close box means the same as Continue.
class frmSendFromExternalApplication final : public BrandedForm {
 public:
  frmSendFromExternalApplication();

  /// Sets the boxes from the user's settings and stores them in the item.
  void Init(const platform::MailItemPtr& item);
  /// The item carries what the boxes show. While it does not, it must not be sent.
  bool ChoicesStored() const { return stored_; }

  Frame Frame1{*this, "Frame1", {7, 62, 286, 67}};
  CheckBox chkSign{*this, "chkSign", {14, 77, 272, 17}, "Sign this message"};
  CheckBox chkEncrypt{*this, "chkEncrypt", {14, 103, 272, 17}, "Encrypt this message"};
  CommandButton cmdContinue{*this, "cmdContinue", {203, 136, 90, 23}, "&Continue >"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 286, 48}};

 private:
  void Form_Activate() override;
  void StoreChoices();

  platform::MailItemPtr m_oMailItem;
  bool stored_ = false;
};

}  // namespace corvessa
