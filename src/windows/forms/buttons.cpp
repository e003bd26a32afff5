#include "ui/controls.h"
#include "win32/utf16.h"
#include "windows/forms/common_controls.h"
#include "windows/forms/control_kinds.h"
#include "windows/forms/metrics.h"
#include "windows/forms/window_text.h"

namespace corvessa::windows {
namespace {

// Marks are the model's: none of the buttons changes by itself. BS_NOTIFY is left out, because the
// focus is watched for every kind of control alike.

class CommandButtonWindow final : public ControlWindow {
 public:
  CommandButtonWindow(ControlSite& site, CommandButton& button)
      : ControlWindow(site, button, {WC_BUTTONW, BS_PUSHBUTTON | WS_TABSTOP}), button_(button) {}

  void OnCommand(int notification) override {
    if (notification == BN_CLICKED) button_.Press();
  }

 private:
  void UpdateContent() override {
    SetText(Handle(), button_.Caption());
    Site().MarkDefaultButton();
  }

  CommandButton& button_;
};

class CheckBoxWindow final : public ControlWindow {
 public:
  CheckBoxWindow(ControlSite& site, CheckBox& box)
      : ControlWindow(site, box, {WC_BUTTONW, BS_CHECKBOX | WS_TABSTOP}), box_(box) {}

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
  OptionButtonWindow(ControlSite& site, OptionButton& option)
      : ControlWindow(site, option, {WC_BUTTONW, BS_RADIOBUTTON | WS_TABSTOP}), option_(option) {}

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
  FrameWindow(ControlSite& site, Frame& frame)
      : ControlWindow(site, frame, {WC_BUTTONW, BS_GROUPBOX | WS_CLIPSIBLINGS}), frame_(frame) {}

  bool IsBackground() const override { return true; }

 private:
  LRESULT OnMessage(UINT message, WPARAM word, LPARAM data) override {
    // A theme may fill it in another colour than that of the page it stands on.
    if (message == WM_PAINT) FillInside();
    return ControlWindow::OnMessage(message, word, data);
  }
  void FillInside() {
    const int line = Measures().LineHeight();
    const int caption = Measures().TextWidth(win32::ShownUtf16(frame_.Caption()));
    RECT area = {};
    GetClientRect(Handle(), &area);
    const GdiObject<HRGN> inside(
        CreateRectRgn(kBorder, line / 2 + kBorder, area.right - kBorder, area.bottom - kBorder));
    const GdiObject<HRGN> text(CreateRectRgn(line / 2, 0, line * 3 / 4 + caption, line));
    CombineRgn(inside.get(), inside.get(), text.get(), RGN_DIFF);
    const HDC context = GetDC(Handle());
    FillRgn(context, inside.get(), Site().BackgroundOf(*this, context));
    ReleaseDC(Handle(), context);
    ValidateRgn(Handle(), inside.get());
  }
  void UpdateContent() override { SetText(Handle(), frame_.Caption()); }

  static constexpr int kBorder = 2;

  Frame& frame_;
};

}  // namespace

std::unique_ptr<ControlWindow> MakeButton(ControlSite& site, Control& control) {
  if (auto* const button = dynamic_cast<CommandButton*>(&control)) {
    return std::make_unique<CommandButtonWindow>(site, *button);
  }
  if (auto* const box = dynamic_cast<CheckBox*>(&control)) {
    return std::make_unique<CheckBoxWindow>(site, *box);
  }
  if (auto* const option = dynamic_cast<OptionButton*>(&control)) {
    return std::make_unique<OptionButtonWindow>(site, *option);
  }
  auto* const frame = dynamic_cast<Frame*>(&control);
  if (frame && frame->HasBorder()) {
    return std::make_unique<FrameWindow>(site, *frame);
  }
  return nullptr;
}

}  // namespace corvessa::windows
