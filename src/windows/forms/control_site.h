#pragma once

#include <windows.h>

namespace corvessa::windows {

class ControlWindow;
class Metrics;

/// The window of a form as the windows of its controls see it.
class ControlSite {
 public:
  /// A message of the window or one of its controls is being handled: neither may be destroyed.
  class InUse {
   public:
    explicit InUse(ControlSite& site) : site_(site) { ++site_.uses_; }
    ~InUse() {
      if (--site_.uses_ == 0) site_.OnUnused();
    }
    InUse(const InUse&) = delete;
    InUse& operator=(const InUse&) = delete;

   private:
    ControlSite& site_;
  };

  ControlSite(const ControlSite&) = delete;
  ControlSite& operator=(const ControlSite&) = delete;

  virtual HWND Handle() const = 0;
  virtual const Metrics& Measures() const = 0;
  /// The control has got the focus.
  virtual void FocusReached(ControlWindow& control) = 0;
  /// Puts the focus where the model has it.
  virtual void PlaceFocus() = 0;
  virtual void MarkDefaultButton() = 0;
  virtual void ShowTip(ControlWindow& control) = 0;
  /// What the control stands on, as a brush that is set up for drawing in its window.
  virtual HBRUSH BackgroundOf(const ControlWindow& control, HDC context) = 0;
  bool IsInUse() const { return uses_ > 0; }

 protected:
  ControlSite() = default;
  ~ControlSite() = default;

 private:
  virtual void OnUnused() = 0;

  int uses_ = 0;
};

}  // namespace corvessa::windows
