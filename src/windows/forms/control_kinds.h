#pragma once

#include <memory>

#include "ui/control.h"
#include "windows/forms/control_window.h"

namespace corvessa::windows {

/// The window of a control of any kind; null for one that is never seen.
std::unique_ptr<ControlWindow> MakeControlWindow(ControlSite& site, Control& control);

// Each kind is in a file of its own, and gives null for a control of another kind.

std::unique_ptr<ControlWindow> MakeLabel(ControlSite& site, Control& control);
std::unique_ptr<ControlWindow> MakeTextBox(ControlSite& site, Control& control);
/// Command button, check box, option button and frame.
std::unique_ptr<ControlWindow> MakeButton(ControlSite& site, Control& control);
/// Combo box, list box and list view.
std::unique_ptr<ControlWindow> MakeRows(ControlSite& site, Control& control);
std::unique_ptr<ControlWindow> MakeTabStrip(ControlSite& site, Control& control);
std::unique_ptr<ControlWindow> MakeProgressBar(ControlSite& site, Control& control);
std::unique_ptr<ControlWindow> MakeImage(ControlSite& site, Control& control);

}  // namespace corvessa::windows
