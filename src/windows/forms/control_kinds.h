#pragma once

#include <memory>

#include "ui/control.h"
#include "windows/forms/control_window.h"

/// The kinds of controls, each in a file of its own. All give null for a control of another kind.
namespace corvessa::windows {

std::unique_ptr<ControlWindow> MakeLabel(FormWindow& form, Control& control);
std::unique_ptr<ControlWindow> MakeTextBox(FormWindow& form, Control& control);
/// Command button, check box, option button and frame.
std::unique_ptr<ControlWindow> MakeButton(FormWindow& form, Control& control);
/// Combo box, list box and list view.
std::unique_ptr<ControlWindow> MakeRows(FormWindow& form, Control& control);
std::unique_ptr<ControlWindow> MakeTabStrip(FormWindow& form, Control& control);
std::unique_ptr<ControlWindow> MakeProgressBar(FormWindow& form, Control& control);
std::unique_ptr<ControlWindow> MakeImage(FormWindow& form, Control& control);

}  // namespace corvessa::windows
