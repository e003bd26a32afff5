#pragma once

#include <windows.h>

#include "ui/control.h"
#include "ui/form.h"

namespace corvessa::windows {

/// What a key does in a form: a control gets the focus, is pressed, or both; or a tab is chosen.
struct FormKey {
  enum class Action { kNone, kFocus, kPress, kFocusAndPress, kNextTab, kPreviousTab };

  Action action = Action::kNone;
  Control* control = nullptr;
};

/// What the key of a message does in the form; `focus` is the control that has the focus, or null.
FormKey MeaningOf(const MSG& message, const Form& form, Control* focus);

/// The control that has the focus when the model gives it to none, and null when none can have it.
Control* FirstInTabOrder(const Form& form);

/// The message that a form's window gets in place of one whose key means something in the form.
/// WPARAM and LPARAM are those of a FormKey.
inline constexpr UINT kFormKeyMessage = WM_APP + 1;

/// Watches the messages of this thread as long as it lives, whose loop ever takes them: a form
/// shown without blocking lives on Outlook's own loop, which knows nothing of dialogs.
class KeyboardHook {
 public:
  KeyboardHook();
  ~KeyboardHook();
  KeyboardHook(const KeyboardHook&) = delete;
  KeyboardHook& operator=(const KeyboardHook&) = delete;

 private:
  HHOOK hook_;
};

}  // namespace corvessa::windows
