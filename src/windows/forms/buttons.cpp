
#include "ui/controls.h"
#include "windows/forms/common_controls.h"
#include "windows/forms/control_kinds.h"
#include "windows/forms/form_window.h"
#include "windows/forms/window_text.h"

namespace corvessa::windows {
namespace {

// Marks are the model's: none of the buttons changes by itself. BS_NOTIFY is left out, because the
// focus is watched for every kind of control alike.

class CommandButtonWindow final : public ControlWindow {
 public:
  CommandButtonWindow(FormWindow& form, CommandButton& button)
      : ControlWindow(form, button, {WC_BUTTONW, BS_PUSHBUTTON | WS_TABSTOP}), button_(button) {}

  void OnCommand(int notification) override {
    if (notification == BN_CLICKED) button_.Press();
  }

 private:
  void UpdateContent() override {
    SetText(Handle(), button_.Caption());
    Parent().MarkDefaultButton();
  }

  CommandButton& button_;
};

class CheckBoxWindow final : public ControlWindow {
 public:
  CheckBoxWindow(FormWindow& form, CheckBox& box)
      : ControlWindow(form, box, {WC_BUTTONW, BS_CHECKBOX | WS_TABSTOP}), box_(box) {}

  void OnCommand(int notification) override {
    if (notification == BN_CLICKED) box_.Toggle();
  }

 private:
  void UpdateContent() override {
    SetText(Handle(), box_.Caption());
    Send(BM_SETCHECK, box_.Checked() ? BST_CHECKED : BST_UNCHECKED);
  }

  CheckBox& box_;
};

class OptionButtonWindow final : public ControlWindow {
 public:
  OptionButtonWindow(FormWindow& form, OptionButton& option)
      : ControlWindow(form, option, {WC_BUTTONW, BS_RADIOBUTTON | WS_TABSTOP}), option_(option) {}

  void OnCommand(int notification) override {
    // One that only gets the focus reports a click, too.
    if (notification == BN_CLICKED && !is_taking_focus_) option_.Press();
  }

 private:
  LRESULT OnMessage(UINT message, WPARAM word, LPARAM data) override {
    is_taking_focus_ = message == WM_SETFOCUS;
    const LRESULT result = ControlWindow::OnMessage(message, word, data);
    is_taking_focus_ = false;
    return result;
  }
  void UpdateContent() override {
    SetText(Handle(), option_.Caption());
    Send(BM_SETCHECK, option_.Selected() ? BST_CHECKED : BST_UNCHECKED);
  }

  OptionButton& option_;
  bool is_taking_focus_ = false;
};

class FrameWindow final : public ControlWindow {
 public:
  FrameWindow(FormWindow& form, Frame& frame)
      : ControlWindow(form, frame, {WC_BUTTONW, BS_GROUPBOX | WS_CLIPSIBLINGS}), frame_(frame) {}

  bool IsBackground() const override { return true; }

 private:
  void UpdateContent() override { SetText(Handle(), frame_.Caption()); }

  Frame& frame_;
};

}  // namespace

std::unique_ptr<ControlWindow> MakeButton(FormWindow& form, Control& control) {
  if (auto* const button = dynamic_cast<CommandButton*>(&control)) {
    return std::make_unique<CommandButtonWindow>(form, *button);
  }
  if (auto* const box = dynamic_cast<CheckBox*>(&control)) {
    return std::make_unique<CheckBoxWindow>(form, *box);
  }
  if (auto* const option = dynamic_cast<OptionButton*>(&control)) {
    return std::make_unique<OptionButtonWindow>(form, *option);
  }
  auto* const frame = dynamic_cast<Frame*>(&control);
  if (frame && frame->HasBorder()) {
    return std::make_unique<FrameWindow>(form, *frame);
  }
  return nullptr;
}

}  // namespace corvessa::windows
