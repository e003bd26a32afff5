#include "ui/controls.h"

#include "base/text.h"
#include "platform/host.h"
#include "platform/system.h"
#include "ui/form.h"
#include "ui/text_layout.h"

namespace corvessa {

using platform::ControlChange;

namespace {

std::string Quoted(std::string_view text) {
  return "\"" + Replace(Replace(text, "\r\n", "\\n"), "\n", "\\n") + "\"";
}

}  // namespace

void CaptionedControl::SetCaption(std::string_view caption) {
  if (caption_ == caption) return;
  caption_ = caption;
  Report(ControlChange::kContent);
  RaiseEvent("Change", OnChange);
}

std::string CaptionedControl::Describe() const {
  return Quoted(caption_);
}

std::string AccessKeyIn(std::string_view caption) {
  for (std::size_t at = caption.find('&'); at != std::string_view::npos && at + 1 < caption.size();
       at = caption.find('&', at + 2)) {
    if (caption[at + 1] != '&') return LCase(Left(caption.substr(at + 1), 1));
  }
  return {};
}

std::string WithoutAccessKey(std::string_view caption) {
  std::string text(caption);
  for (std::size_t at = text.find('&'); at != text.npos; at = text.find('&', at)) {
    text.erase(at, 1);
    // "&&" stands for one "&".
    if (at < text.size() && text[at] == '&') ++at;
  }
  return text;
}

void Label::SetUseMnemonic(bool uses) {
  if (std::exchange(uses_mnemonic_, uses) != uses) Report(ControlChange::kContent);
}

void Label::SetFittedCaption(std::string_view text) {
  const std::string fitted = FittedText(text, Bounds().width);
  whole_text_ = fitted == text ? "" : text;
  SetCaption(fitted);
}

std::string CommandButton::Describe() const {
  return CaptionedControl::Describe() + (is_default_ ? " default" : "") +
         (is_cancel_ ? " cancel" : "");
}

void CommandButton::SetDefault(bool is_default) {
  if (std::exchange(is_default_, is_default) != is_default) Report(ControlChange::kContent);
}

void CommandButton::SetCancel(bool is_cancel) {
  if (std::exchange(is_cancel_, is_cancel) != is_cancel) Report(ControlChange::kContent);
}

void CommandButton::Press() {
  if (TakesInput()) RaiseEvent("Click", OnClick);
}

std::string CheckBox::Describe() const {
  return CaptionedControl::Describe() + (checked_ ? " [x]" : " [ ]");
}

void CheckBox::SetChecked(bool checked) {
  if (checked_ == checked) return;
  checked_ = checked;
  Report(ControlChange::kContent);
  RaiseEvent("Click", OnClick);
}

void CheckBox::Toggle() {
  if (TakesInput()) SetChecked(!checked_);
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
    if (other && other->Name() == Name()) other->SetSelected(false);
  }
  SetSelected(true);
  RaiseEvent("Click", OnClick);
}

void OptionButton::SetSelected(bool selected) {
  if (std::exchange(selected_, selected) != selected) Report(ControlChange::kContent);
}

void OptionButton::Press() {
  if (TakesInput()) Select();
}

std::string TextBox::Describe() const {
  if (IsPassword()) return Quoted(std::string(Length(Text()), '*'));
  return Quoted(Text());
}

void TextBox::SetText(std::string_view text) {
  if (text == Text()) return;
  text_.Assign(text);
  sel_start_ = 0;
  Report(ControlChange::kContent);
  RaiseEvent("Change", OnChange);
}

void TextBox::AppendText(std::string_view text) {
  sel_start_ = Text().size();
  text_.Append(text);
  Report(ControlChange::kAppended);
  RaiseEvent("Change", OnChange);
}

void TextBox::Type(std::string_view text) {
  if (TakesInput() && !IsMultiLine()) SetText(text);
}

std::string Image::Describe() const {
  return picture_ ? Quoted(picture_->source) : "";
}

void Image::SetPicture(platform::PicturePtr picture) {
  picture_ = std::move(picture);
  Report(ControlChange::kContent);
}

std::string ProgressBar::Describe() const {
  return Decimal(value_) + " of " + Decimal(min_) + " to " + Decimal(max_);
}

void ProgressBar::SetRange(std::int32_t min, std::int32_t max) {
  min_ = value_ = min;
  max_ = max;
  Report(ControlChange::kContent);
}

void ProgressBar::SetValue(std::int32_t value) {
  if (std::exchange(value_, value) != value) Report(ControlChange::kContent);
}

void Timer::UpdateActivity() {
  const bool runs = Parent().IsLoaded() && Enabled();
  if (std::exchange(running_, runs) == runs) return;
  platform::Ui& ui = platform::Host().ui;
  runs ? ui.TimerStarted(*this) : ui.TimerStopped(*this);
}

void Timer::Tick() {
  if (!running_ || ticking_) return;
  const std::shared_ptr<Form> held = Parent().shared_from_this();
  ticking_ = true;
  RaiseEvent("Timer", OnTimer);
  ticking_ = false;
}

std::string Inet::OpenURL(std::string_view url) const {
  return platform::Host().inet.OpenURL(url);
}

}  // namespace corvessa
