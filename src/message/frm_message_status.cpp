#include "message/frm_message_status.h"

#include <algorithm>
#include <initializer_list>

#include "base/guard.h"

namespace corvessa {
namespace {

constexpr int kMinimumWidth = 295;
constexpr int kMinimumHeight = 336;

}  // namespace

frmMessageStatus::frmMessageStatus()
    : BrandedForm("frmMessageStatus", "Message Information", 420, 420) {
  SetMinimumWindow(kMinimumWidth, kMinimumHeight);
  // Text from outside: an "&" in it is no access key.
  for (Label* label : {&lblFrom, &lblSubject, &lblDate, &lblEncrypted, &lblSigned}) {
    label->SetUseMnemonic(false);
  }
  int index = 0;
  for (Frame* page : {&fraTab0, &fraTab1, &fraTab2}) {
    page->SetIndex(index++);
    page->SetBorder(false);
  }
  fraTab0.Hold({&lblEncrypted, &lblThisMsg1, &lvwEncryption});
  fraTab1.Hold({&lblSigned, &lblThisMsg2, &lvwSigning});
  fraTab2.Hold({&txtOriginalMessage});
  txtOriginalMessage.SetAccessibleName("Original message");
  lvwEncryption.SetSelectable(false);
  lvwSigning.SetSelectable(false);
  cmdClose.SetDefault(true);
  cmdClose.SetCancel(true);
  tbsTabs.OnClick = [this] { ShowTab(tbsTabs.Selected()); };
  cmdClose.OnClick = [this] { Unload(); };
}

void frmMessageStatus::Form_Load() {
  BrandedForm::Form_Load();
  design_width_ = Width();
  design_height_ = Height();
  growing_.clear();
  for (Control* control :
       std::initializer_list<Control*>{&tbsTabs, &fraTab0, &fraTab1, &fraTab2, &lvwEncryption,
                                       &lvwSigning, &txtOriginalMessage, &cmdClose}) {
    growing_.push_back({control, control->Bounds()});
  }
  ShowAttachmentLists(false);
  ShowTab(1);
}

void frmMessageStatus::Form_Resize() {
  const int right = Width() - design_width_;
  const int down = Height() - design_height_;
  for (const DesignSize& design : growing_) {
    Rect bounds = design.bounds;
    if (design.control == &cmdClose) {
      bounds.left += right;
      bounds.top += down;
    } else {
      bounds.width = std::max(0, bounds.width + right);
      bounds.height = std::max(0, bounds.height + down);
    }
    design.control->SetBounds(bounds);
  }
}

void frmMessageStatus::SetFrom(std::string_view text) {
  Guarded("frmMessageStatus::SetFrom - ", [&] { lblFrom.SetFittedCaption(text); });
}

void frmMessageStatus::SetSubject(std::string_view text) {
  Guarded("frmMessageStatus::SetSubject - ", [&] { lblSubject.SetFittedCaption(text); });
}

void frmMessageStatus::SetDate(std::string_view text) {
  Guarded("frmMessageStatus::SetDate - ", [&] { lblDate.SetFittedCaption(text); });
}

void frmMessageStatus::SetEncryptionMessage(std::string_view text) {
  Guarded("frmMessageStatus::SetEncryptionMessage - ", [&] { lblEncrypted.SetFittedCaption(text); });
}

void frmMessageStatus::SetSignedMessage(std::string_view text) {
  Guarded("frmMessageStatus::SetSignedMessage - ", [&] { lblSigned.SetFittedCaption(text); });
}

void frmMessageStatus::SetOriginalMessageBody(std::string_view text) {
  Guarded("frmMessageStatus::SetOriginalMessageBody - ", [&] { txtOriginalMessage.SetText(text); });
}

void frmMessageStatus::ShowTab(int tab) {
  Guarded("frmMessageStatus::ShowTab - ", [&] {
    for (Frame* page : {&fraTab0, &fraTab1, &fraTab2}) page->SetVisible(false);
    if (tbsTabs.Selected() != tab) tbsTabs.Select(tab);
    Find("fraTab", tab - 1)->SetVisible(true);
  });
}

void frmMessageStatus::ClearAttachments() {
  Guarded("frmMessageStatus::ClearAttachments - ", [&] {
    lvwEncryption.ClearRows();
    lvwSigning.ClearRows();
    ShowAttachmentLists(false);
  });
}

void frmMessageStatus::AddAttachment(std::string_view encryption_line,
                                     std::string_view signing_line) {
  Guarded("frmMessageStatus::AddAttachment - ", [&] {
    lvwEncryption.AddRow(std::string(encryption_line));
    lvwSigning.AddRow(std::string(signing_line));
    ShowAttachmentLists(true);
  });
}

void frmMessageStatus::ShowAttachmentLists(bool visible) {
  lblThisMsg1.SetVisible(visible);
  lvwEncryption.SetVisible(visible);
  lblThisMsg2.SetVisible(visible);
  lvwSigning.SetVisible(visible);
}

}  // namespace corvessa
