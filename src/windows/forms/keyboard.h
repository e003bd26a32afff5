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

}  // namespace corvessa::windows
