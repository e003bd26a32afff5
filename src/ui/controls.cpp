#include "ui/controls.h"

#include "base/text.h"
#include "ui/form.h"

namespace corvessa {
namespace {

std::string Quoted(std::string_view text) {
  return "\"" + Replace(Replace(text, "\r\n", "\\n"), "\n", "\\n") + "\"";
}

}  // namespace

void CaptionedControl::SetCaption(std::string_view caption) {
  if (caption_ == caption) return;
  caption_ = caption;
  RaiseEvent("Change", OnChange);
}

std::string CaptionedControl::Describe() const {
  return Quoted(caption_);
}

std::string CommandButton::Describe() const {
  return CaptionedControl::Describe() + (Default ? " default" : "") + (Cancel ? " cancel" : "");
}

void CommandButton::Press() {
  if (IsShown() && IsUsable()) RaiseEvent("Click", OnClick);
}

std::string CheckBox::Describe() const {
  return CaptionedControl::Describe() + (checked_ ? " [x]" : " [ ]");
}

void CheckBox::SetChecked(bool checked) {
  if (checked_ == checked) return;
  checked_ = checked;
  RaiseEvent("Click", OnClick);
}

void CheckBox::Toggle() {
  if (IsShown() && IsUsable()) SetChecked(!checked_);
}

OptionButton::OptionButton(Form& form, std::string name, int index, Rect bounds,
                           std::string caption)
    : CaptionedControl(form, std::move(name), bounds, std::move(caption)) {
  SetIndex(index);
}

std::string OptionButton::Describe() const {
  return CaptionedControl::Describe() + (selected_ ? " (o)" : " ( )");
}

void OptionButton::Select() {
  if (selected_) return;
  for (Control* control : Parent().Controls()) {
    auto* other = dynamic_cast<OptionButton*>(control);
    if (other && other->Name() == Name()) other->selected_ = false;
  }
  selected_ = true;
  RaiseEvent("Click", OnClick);
}

void OptionButton::Press() {
  if (IsShown() && IsUsable()) Select();
}

std::string TextBox::Describe() const {
  if (IsPassword()) return Quoted(std::string(Length(Text()), '*'));
  return Quoted(Text());
}

void TextBox::SetText(std::string_view text) {
  if (text == Text()) return;
  text_.Assign(text);
  SelStart = 0;
  RaiseEvent("Change", OnChange);
}

void TextBox::AppendText(std::string_view text) {
  text_.Append(text);
  RaiseEvent("Change", OnChange);
}

void TextBox::Type(std::string_view text) {
  if (IsShown() && IsUsable() && !IsMultiLine()) SetText(text);
}

std::string Image::Describe() const {
  return Picture ? Quoted(Picture->source) : "";
}

std::string ProgressBar::Describe() const {
  return Decimal(Value) + " of " + Decimal(Min) + " to " + Decimal(Max);
}

void Timer::Tick() {
  if (!Enabled || ticking_) return;
  ticking_ = true;
  const std::shared_ptr<Form> held = Parent().shared_from_this();
  RaiseEvent("Timer", OnTimer);
  ticking_ = false;
}

}  // namespace corvessa
