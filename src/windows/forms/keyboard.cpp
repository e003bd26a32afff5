#include "windows/forms/keyboard.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/text.h"
#include "ui/controls.h"
#include "ui/list_controls.h"
#include "ui/text_layout.h"
#include "win32/utf16.h"

namespace corvessa::windows {
namespace {

using Action = FormKey::Action;

bool CanTakeFocus(const Control& control) {
  return control.TakesFocus() && control.IsShown() && control.IsUsable();
}

/// Of the option buttons of one name only the selected one is a stop of the Tab key, or the first
/// if none is selected; the arrow keys reach the others.
bool IsTabStop(const Control& control) {
  if (!CanTakeFocus(control)) return false;
  const auto* const option = dynamic_cast<const OptionButton*>(&control);
  if (!option || option->Selected()) return true;
  const Control* first = nullptr;
  for (const Control* other : control.Parent().Controls()) {
    const auto* const sibling = dynamic_cast<const OptionButton*>(other);
    if (!sibling || sibling->Name() != option->Name() || !CanTakeFocus(*sibling)) continue;
    if (sibling->Selected()) return false;
    if (!first) first = sibling;
  }
  return first == option;
}

/// The controls of the form beginning behind one of them, around to itself.
std::vector<Control*> Behind(const Form& form, const Control* control) {
  std::vector<Control*> controls = form.Controls();
  const auto found = std::ranges::find(controls, control);
  if (found != controls.end()) std::rotate(controls.begin(), found + 1, controls.end());
  return controls;
}

template <typename Condition>
Control* FindIn(const std::vector<Control*>& controls, Condition condition) {
  const auto found = std::ranges::find_if(controls, condition);
  return found == controls.end() ? nullptr : *found;
}

FormKey TabKey(const Form& form, Control* focus, bool back) {
  std::vector<Control*> controls = Behind(form, focus);
  if (back) {
    // The control itself comes last, as before.
    if (focus) std::reverse(controls.begin(), controls.end() - 1);
    if (!focus) std::ranges::reverse(controls);
  }
  Control* const next = FindIn(controls, [](const Control* one) { return IsTabStop(*one); });
  return next ? FormKey{Action::kFocus, next} : FormKey{};
}

/// The arrow keys select the next option of the name.
FormKey ArrowKey(const Form& form, Control* focus, bool back) {
  std::vector<Control*> controls = Behind(form, focus);
  if (back) std::reverse(controls.begin(), controls.end() - 1);
  Control* const next = FindIn(controls, [&](const Control* one) {
    return one->Name() == focus->Name() && CanTakeFocus(*one);
  });
  return next && next != focus ? FormKey{Action::kFocusAndPress, next} : FormKey{};
}

/// A button that a key presses wherever the focus is.
FormKey ButtonKey(const Form& form, bool (CommandButton::*is_meant)() const) {
  Control* const button = FindIn(form.Controls(), [&](const Control* control) {
    const auto* const one = dynamic_cast<const CommandButton*>(control);
    return one && (one->*is_meant)() && CanTakeFocus(*one);
  });
  return button ? FormKey{Action::kPress, button} : FormKey{};
}

std::string AccessKeyOf(const Control& control) {
  const auto* const captioned = dynamic_cast<const CaptionedControl*>(&control);
  const auto* const label = dynamic_cast<const Label*>(&control);
  if (!captioned || (label && !label->UsesMnemonic())) return {};
  // A text of several lines names no control.
  if (label && label->Bounds().height >= 2 * kTextLineHeight) return {};
  return AccessKeyIn(captioned->Caption());
}

FormKey AccessKey(const Form& form, Control* focus, wchar_t letter) {
  const std::string key = LCase(win32::ShownUtf8(std::wstring(1, letter)));
  const auto is_meant = [&](const Control* control) {
    return AccessKeyOf(*control) == key && control->IsShown() && control->IsUsable();
  };
  Control* const found = FindIn(Behind(form, focus), is_meant);
  if (!found) return {};
  const bool is_shared = std::ranges::count_if(form.Controls(), is_meant) > 1;
  if (found->TakesFocus()) return {is_shared ? Action::kFocus : Action::kFocusAndPress, found};
  // The caption of a label or frame stands for what comes behind it.
  Control* const next =
      FindIn(Behind(form, found), [](const Control* one) { return IsTabStop(*one); });
  return next ? FormKey{Action::kFocus, next} : FormKey{};
}

FormKey TabStripKey(const Form& form, bool back) {
  Control* const tabs = FindIn(form.Controls(), [](const Control* control) {
    return dynamic_cast<const TabStrip*>(control) && CanTakeFocus(*control);
  });
  return tabs ? FormKey{back ? Action::kPreviousTab : Action::kNextTab, tabs} : FormKey{};
}

bool IsHeld(int key) {
  return GetKeyState(key) < 0;
}

/// Enter and Escape close the list first.
bool HasDroppedList(HWND window) {
  return SendMessageW(window, CB_GETDROPPEDSTATE, 0, 0) != 0;
}

FormKey KeyDown(const MSG& message, const Form& form, Control* focus) {
  // A key that is held down answers one form only.
  const bool is_repeated = (message.lParam & (1L << 30)) != 0;
  switch (message.wParam) {
    case VK_TAB:
      return IsHeld(VK_CONTROL) ? TabStripKey(form, IsHeld(VK_SHIFT))
                                : TabKey(form, focus, IsHeld(VK_SHIFT));
    case VK_RETURN:
      if (is_repeated || HasDroppedList(message.hwnd)) return {};
      if (dynamic_cast<CommandButton*>(focus)) return {Action::kPress, focus};
      return ButtonKey(form, &CommandButton::IsDefault);
    case VK_ESCAPE:
      if (is_repeated || HasDroppedList(message.hwnd)) return {};
      return ButtonKey(form, &CommandButton::IsCancel);
    case VK_F1:
      return is_repeated ? FormKey{} : ButtonKey(form, &CommandButton::IsHelp);
    case VK_LEFT:
    case VK_UP:
    case VK_RIGHT:
    case VK_DOWN:
      if (!dynamic_cast<OptionButton*>(focus)) return {};
      return ArrowKey(form, focus, message.wParam == VK_LEFT || message.wParam == VK_UP);
    default:
      return {};
  }
}

}  // namespace

Control* FirstInTabOrder(const Form& form) {
  return TabKey(form, nullptr, false).control;
}

FormKey MeaningOf(const MSG& message, const Form& form, Control* focus) {
  const bool is_repeated = (message.lParam & (1L << 30)) != 0;
  if (message.message == WM_KEYDOWN) return KeyDown(message, form, focus);
  if (is_repeated) return {};
  const auto letter = static_cast<wchar_t>(message.wParam);
  if (message.message == WM_SYSCHAR) return AccessKey(form, focus, letter);
  // Where nothing is typed, the letter alone will do.
  const bool is_typed =
      message.message != WM_CHAR ||
      (SendMessageW(message.hwnd, WM_GETDLGCODE, 0, 0) & (DLGC_WANTCHARS | DLGC_WANTALLKEYS)) != 0;
  return is_typed || letter <= L' ' ? FormKey{} : AccessKey(form, focus, letter);
}

}  // namespace corvessa::windows
