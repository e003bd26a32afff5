#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ui/control.h"

namespace corvessa {
class Form;
class ProgressBar;
}  // namespace corvessa

/// Forms drawn as text. Captions and rows may come from a message; nothing of them can steer a
/// terminal.
namespace corvessa::desk {

class Choices;
using Lines = std::vector<std::string>;

/// The form as a box of at most `columns`, each line ended by LF: its visible controls in their
/// design order, row by row. A control that can be chosen follows its key, a disabled one is in
/// parentheses. Without `choices` (null) there are no keys.
std::string DrawForm(const Form& form, const Choices* choices, int columns);

/// A message box, drawn in the same way with `symbol` before its text.
std::string DrawMessage(std::string_view text, std::string_view title, std::string_view symbol,
                        int columns);

/// The visible labels and rows of a form in their order, one a line.
std::string TextOf(const Form& form);

/// A progress window as one line: "[####----] step" with a progress bar, else its caption. Fewer
/// `columns` make the bar shorter, because the step says more.
std::string StatusLine(const Form& form, int columns);

/// Whether the control has anything to draw: pictures, timers and empty labels have not.
bool IsDrawn(const Control& control);

/// The lines of one control, except frames, none wider than `columns`. `choices` may be null.
Lines DrawControl(const Control& control, const Choices* choices, int columns);

inline constexpr int kMostBarColumns = 32;

/// "[####----]", `columns` wide.
std::string DrawBar(const ProgressBar& bar, int columns);

/// Whether a control is of one of the kinds.
template <typename... Kinds>
bool Is(const Control& control) {
  return (... || (dynamic_cast<const Kinds*>(&control) != nullptr));
}

}  // namespace corvessa::desk
