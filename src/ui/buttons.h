#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "ui/labels.h"

/// What the user clicks.
namespace corvessa {

class CommandButton final : public CaptionedControl {
 public:
  CommandButton(Form& form, std::string name, Rect bounds, std::string caption)
      : CaptionedControl(form, std::move(name), bounds, std::move(caption)) {}
  std::string_view TypeName() const override { return "CommandButton"; }
  bool TakesFocus() const override { return true; }
  std::string Describe() const override;
  /// Enter presses the default button.
  bool IsDefault() const { return is_default_; }
  void SetDefault(bool is_default);
  /// Escape presses the cancel button.
  bool IsCancel() const { return is_cancel_; }
  void SetCancel(bool is_cancel);
  /// F1 presses the help button.
  bool IsHelp() const { return is_help_; }
  void SetHelp(bool is_help) { is_help_ = is_help; }
  /// The user's click.
  void Press();

  Handler OnClick;

 private:
  bool is_default_ = false;
  bool is_cancel_ = false;
  bool is_help_ = false;
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
/// selected. A back end must not group them by container.
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
  void SetSelected(bool selected);

  bool selected_ = false;
};

}  // namespace corvessa
