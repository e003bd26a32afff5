#pragma once

#include <string_view>
#include <vector>

#include "branding/branded_form.h"
#include "ui/controls.h"
#include "ui/list_controls.h"

namespace corvessa {

/// Tells what was found in a received message: how it was encrypted, by whom it was signed, the
/// same of its attachments, and its original text. Nothing here throws.
class frmMessageStatus final : public BrandedForm {
 public:
  frmMessageStatus();

  /// The five label setters shorten the text, with "..." at its end, until it fits its label.
  void SetFrom(std::string_view text);
  void SetSubject(std::string_view text);
  void SetDate(std::string_view text);
  void SetEncryptionMessage(std::string_view text);
  void SetSignedMessage(std::string_view text);
  void SetOriginalMessageBody(std::string_view text);
  /// 1 encryption, 2 digital signatures, 3 original message.
  void ShowTab(int tab);
  void ClearAttachments();
  /// The attachment's line on the encryption page and that on the signatures page. The lists are
  /// hidden as long as they are empty.
  void AddAttachment(std::string_view encryption_line, std::string_view signing_line);

  Label Label1{*this, "Label1", {7, 62, 60, 13}, "From:"};
  Label lblFrom{*this, "lblFrom", {72, 62, 341, 13}};
  Label Label2{*this, "Label2", {7, 80, 60, 13}, "Subject:"};
  Label lblSubject{*this, "lblSubject", {72, 80, 341, 13}};
  Label Label3{*this, "Label3", {7, 98, 60, 13}, "Date:"};
  Label lblDate{*this, "lblDate", {72, 98, 341, 13}};
  TabStrip tbsTabs{*this,
                   "tbsTabs",
                   {7, 118, 406, 265},
                   {"Encryption", "Digital signatures", "Original message"}};
  Frame fraTab0{*this, "fraTab", {14, 142, 392, 234}};
  Frame fraTab1{*this, "fraTab", {14, 142, 392, 234}};
  Frame fraTab2{*this, "fraTab", {14, 142, 392, 234}};
  Label lblEncrypted{*this, "lblEncrypted", {21, 149, 378, 13}, "This message"};
  Label lblThisMsg1{
      *this, "lblThisMsg1", {21, 169, 378, 13}, "This message has the following attachments:"};
  ListView lvwEncryption{*this, "lvwEncryption", {21, 187, 378, 182}};
  Label lblSigned{*this, "lblSigned", {21, 149, 378, 13}, "This message"};
  Label lblThisMsg2{
      *this, "lblThisMsg2", {21, 169, 378, 13}, "This message has the following attachments:"};
  ListView lvwSigning{*this, "lvwSigning", {21, 187, 378, 182}};
  TextBox txtOriginalMessage{
      *this, "txtOriginalMessage", {21, 149, 378, 220}, TextBox::Kind::kCourier};
  CommandButton cmdClose{*this, "cmdClose", {338, 390, 75, 23}, "&Close"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 406, 48}};

 private:
  struct DesignSize {
    Control* control;
    Rect bounds;
  };

  void Form_Load() override;
  void Form_Resize() override;
  void ShowAttachmentLists(bool visible);

  int design_width_ = 0;
  int design_height_ = 0;
  std::vector<DesignSize> growing_;
};

}  // namespace corvessa
