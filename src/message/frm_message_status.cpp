#include "message/frm_message_status.h"

#include <string>

#include "base/guard.h"
#include "base/text.h"
#include "platform/host.h"
#include "platform/ui.h"

namespace corvessa {
namespace {

constexpr int kMinimumWidth = 295;
constexpr int kMinimumHeight = 336;
constexpr std::string_view kEllipsis = "...";

/// The text, shortened by one character after the other until it is no wider than the label.
std::string Fitted(std::string_view text, int width) {
  std::string shown(text);
  // No character is narrower than a pixel: a very long text need not be shortened one by one.
  const auto most = static_cast<std::size_t>(width > 0 ? width : 0) + kEllipsis.size() + 1;
  if (Length(shown) > most) shown = std::string(Left(text, most)).append(kEllipsis);
  while (platform::Host().ui.TextWidth(shown) > width) {
    const std::size_t length = Length(shown);
    if (length <= kEllipsis.size() + 1) return std::string(kEllipsis);
    shown = std::string(Left(shown, length - kEllipsis.size() - 1)).append(kEllipsis);
  }
  return shown;
}

void Fit(Label& label, std::string_view text) {
  // Text from outside: an "&" in it is no access key.
  label.SetCaption(Replace(Fitted(text, label.Bounds.width), "&", "&&"));
}

}  // namespace

frmMessageStatus::frmMessageStatus()
    : BrandedForm("frmMessageStatus", "Message Information", 420, 420) {
  MinimumWidth = kMinimumWidth;
  MinimumHeight = kMinimumHeight;
  int index = 0;
  for (Frame* page : {&fraTab0, &fraTab1, &fraTab2}) page->SetIndex(index++);
  fraTab0.Hold({&lblEncrypted, &lblThisMsg1, &lvwEncryption});
  fraTab1.Hold({&lblSigned, &lblThisMsg2, &lvwSigning});
  fraTab2.Hold({&txtOriginalMessage});
  lvwEncryption.Selectable = false;
  lvwSigning.Selectable = false;
  cmdClose.Default = true;
  cmdClose.Cancel = true;
  tbsTabs.OnClick = [this] { ShowTab(tbsTabs.Selected()); };
  cmdClose.OnClick = [this] { Unload(); };
}

void frmMessageStatus::Form_Load() {
  BrandedForm::Form_Load();
  design_width_ = Width;
  design_height_ = Height;
  growing_.clear();
  for (Control* control :
       std::initializer_list<Control*>{&tbsTabs, &fraTab0, &fraTab1, &fraTab2, &lvwEncryption,
                                       &lvwSigning, &txtOriginalMessage, &cmdClose}) {
    growing_.push_back({control, control->Bounds});
  }
  ShowAttachmentLists(false);
  ShowTab(1);
}

void frmMessageStatus::Form_Resize() {
  const int right = Width - design_width_;
  const int down = Height - design_height_;
  for (const DesignSize& design : growing_) {
    Rect& bounds = design.control->Bounds;
    bounds = design.bounds;
    if (design.control == &cmdClose) {
      bounds.left += right;
      bounds.top += down;
    } else {
      bounds.width += right;
      bounds.height += down;
    }
  }
}

void frmMessageStatus::SetFrom(std::string_view text) {
  Guarded("frmMessageStatus::SetFrom - ", [&] { Fit(lblFrom, text); });
}

void frmMessageStatus::SetSubject(std::string_view text) {
  Guarded("frmMessageStatus::SetSubject - ", [&] { Fit(lblSubject, text); });
}

void frmMessageStatus::SetDate(std::string_view text) {
  Guarded("frmMessageStatus::SetDate - ", [&] { Fit(lblDate, text); });
}

void frmMessageStatus::SetEncryptionMessage(std::string_view text) {
  Guarded("frmMessageStatus::SetEncryptionMessage - ", [&] { Fit(lblEncrypted, text); });
}

void frmMessageStatus::SetSignedMessage(std::string_view text) {
  Guarded("frmMessageStatus::SetSignedMessage - ", [&] { Fit(lblSigned, text); });
}

void frmMessageStatus::SetOriginalMessageBody(std::string_view text) {
  Guarded("frmMessageStatus::SetOriginalMessageBody - ", [&] { txtOriginalMessage.SetText(text); });
}

void frmMessageStatus::ShowTab(int tab) {
  Guarded("frmMessageStatus::ShowTab - ", [&] {
    for (Frame* page : {&fraTab0, &fraTab1, &fraTab2}) page->Visible = false;
    if (tbsTabs.Selected() != tab) tbsTabs.Select(tab);
    Find("fraTab", tab - 1)->Visible = true;
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
  lblThisMsg1.Visible = visible;
  lvwEncryption.Visible = visible;
  lblThisMsg2.Visible = visible;
  lvwSigning.Visible = visible;
}

}  // namespace corvessa
