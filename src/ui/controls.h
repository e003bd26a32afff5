#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "base/secret_string.h"
#include "platform/picture.h"
#include "ui/control.h"

namespace corvessa {

/// A control that shows a caption. "&" marks the access key, "&&" stands for one "&".
class CaptionedControl : public Control {
 public:
  const std::string& Caption() const { return caption_; }
  void SetCaption(std::string_view caption);
  std::string Describe() const override;

  /// After every change of the caption.
  Handler OnChange;

 protected:
  CaptionedControl(Form& form, std::string name, Rect bounds, std::string caption)
      : Control(form, std::move(name), bounds), caption_(std::move(caption)) {}

 private:
  std::string caption_;
};

class Label final : public CaptionedControl {
 public:
  Label(Form& form, std::string name, Rect bounds, std::string caption = {})
      : CaptionedControl(form, std::move(name), bounds, std::move(caption)) {}
  std::string_view TypeName() const override { return "Label"; }

  /// Off for a label that shows text from outside, in which "&" stands for itself.
  bool UseMnemonic = true;
};

class Frame final : public CaptionedControl {
 public:
  Frame(Form& form, std::string name, Rect bounds, std::string caption = {})
      : CaptionedControl(form, std::move(name), bounds, std::move(caption)) {}
  std::string_view TypeName() const override { return "Frame"; }
  /// Puts the controls into the frame; to be called while the form is being built.
  void Hold(std::initializer_list<Control*> controls) {
    for (Control* control : controls) control->PutInto(*this);
  }
};

class CommandButton final : public CaptionedControl {
 public:
  CommandButton(Form& form, std::string name, Rect bounds, std::string caption)
      : CaptionedControl(form, std::move(name), bounds, std::move(caption)) {}
  std::string_view TypeName() const override { return "CommandButton"; }
  bool TakesFocus() const override { return true; }
  std::string Describe() const override;
  /// The user's click; nothing happens while the button is hidden or disabled.
  void Press();

  /// Enter presses it.
  bool Default = false;
  /// Escape presses it.
  bool Cancel = false;
  Handler OnClick;
};

class CheckBox final : public CaptionedControl {
 public:
  CheckBox(Form& form, std::string name, Rect bounds, std::string caption)
      : CaptionedControl(form, std::move(name), bounds, std::move(caption)) {}
  std::string_view TypeName() const override { return "CheckBox"; }
  bool TakesFocus() const override { return true; }
  std::string Describe() const override;
  bool Checked() const { return checked_; }
  /// Raises OnClick when the state changes, as the classic control does.
  void SetChecked(bool checked);
  /// The user's click.
  void Toggle();

  Handler OnClick;

 private:
  bool checked_ = false;
};

/// The buttons of one name, a control array, are one group wherever they stand: at most one is
/// selected. A host must not group them by container.
class OptionButton final : public CaptionedControl {
 public:
  OptionButton(Form& form, std::string name, int index, Rect bounds, std::string caption);
  std::string_view TypeName() const override { return "OptionButton"; }
  bool TakesFocus() const override { return true; }
  std::string Describe() const override;
  bool Selected() const { return selected_; }
  /// Selects it, deselecting the others of its name; raises OnClick when it was not selected.
  void Select();
  /// The user's click.
  void Press();

  Handler OnClick;

 private:
  bool selected_ = false;
};

class TextBox final : public Control {
 public:
  enum class Kind : std::uint8_t { kLine, kPassword, kLog, kCourier };

  TextBox(Form& form, std::string name, Rect bounds, Kind kind = Kind::kLine)
      : Control(form, std::move(name), bounds), kind_(kind) {}
  std::string_view TypeName() const override { return "TextBox"; }
  bool TakesFocus() const override { return true; }
  std::string Describe() const override;
  bool IsPassword() const { return kind_ == Kind::kPassword; }
  /// Several lines, read-only to the user.
  bool IsMultiLine() const { return kind_ == Kind::kLog || kind_ == Kind::kCourier; }
  /// Lives until the next change.
  std::string_view Text() const { return text_.View(); }
  /// Raises OnChange when the text differs. What a password box held is wiped.
  void SetText(std::string_view text);
  /// Adds to the end, without copying what is there. Raises OnChange.
  void AppendText(std::string_view text);
  /// The user's typing; nothing happens while the box is hidden, disabled or read-only.
  void Type(std::string_view text);
  /// The user has gone on to another control.
  void Leave() { RaiseEvent("LostFocus", OnLostFocus); }

  /// Byte offset of the caret.
  std::size_t SelStart = 0;
  Handler OnChange;
  Handler OnLostFocus;

 private:
  Kind kind_;
  SecretString text_;
};

class Image final : public Control {
 public:
  Image(Form& form, std::string name, Rect bounds) : Control(form, std::move(name), bounds) {}
  std::string_view TypeName() const override { return "Image"; }
  std::string Describe() const override;

  platform::PicturePtr Picture;
};

class ProgressBar final : public Control {
 public:
  ProgressBar(Form& form, std::string name, Rect bounds) : Control(form, std::move(name), bounds) {}
  std::string_view TypeName() const override { return "ProgressBar"; }
  std::string Describe() const override;

  std::int32_t Min = 0;
  std::int32_t Max = 100;
  std::int32_t Value = 0;
};

/// Ticks while its form is loaded; the Ui back end, or whoever drives it, calls Tick.
class Timer final : public Control {
 public:
  Timer(Form& form, std::string name, std::int32_t interval_ms)
      : Control(form, std::move(name), {}), Interval(interval_ms) {}
  std::string_view TypeName() const override { return "Timer"; }
  /// One interval has passed. Does nothing while disabled or inside another tick of its own.
  void Tick();

  /// Milliseconds.
  std::int32_t Interval;
  Handler OnTimer;

 private:
  bool ticking_ = false;
};

}  // namespace corvessa
