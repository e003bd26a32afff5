#include "windows/forms/control_kinds.h"

namespace corvessa::windows {

std::unique_ptr<ControlWindow> MakeControlWindow(ControlSite& site, Control& control) {
  // Each gives null for a control of another kind.
  for (const auto make :
       {MakeLabel, MakeTextBox, MakeButton, MakeRows, MakeTabStrip, MakeProgressBar, MakeImage}) {
    if (auto window = make(site, control)) {
      for (const auto change :
           {platform::ControlChange::kContent, platform::ControlChange::kState}) {
        window->Update(change);
      }
      return window;
    }
  }
  return nullptr;
}

}  // namespace corvessa::windows
