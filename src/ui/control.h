#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/ui.h"

namespace corvessa {

class Form;

/// Position and size in pixels of a 96-dpi screen, relative to the form's client area.
struct Rect {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;

  bool operator==(const Rect&) const = default;
};

/// One control of a form model. It registers itself with its form when it is made, so a form's
/// members in declaration order are its controls in control order, which is also the tab order.
///
/// Controls have two kinds of operations: setters, with which the program changes them in any
/// state, and the user's input (Press, Type, ClickRow, …), which a hidden or disabled control
/// ignores. While the form is loaded, every change is reported to the Ui back end, before the event
/// that it raises.
class Control {
 public:
  using Handler = std::function<void()>;

  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;
  virtual ~Control() = default;

  /// The class name of the control, such as "Label" or "CommandButton".
  virtual std::string_view TypeName() const = 0;
  const std::string& Name() const { return name_; }
  /// The place in a control array, -1 for a control that is in none.
  int Index() const { return index_; }
  Form& Parent() const { return form_; }

  /// Makes this a member of a control array; to be called while the form is being built.
  void SetIndex(int index) { index_ = index; }
  /// The frame that the control stands in, or null; to be set while the form is being built.
  void PutInto(const Control& frame) { container_ = &frame; }
  const Control* Container() const { return container_; }
  /// What a screen reader calls it, where neither its own caption nor a label before it does.
  const std::string& AccessibleName() const { return accessible_name_; }
  /// To be called while the form is being built.
  void SetAccessibleName(std::string name) { accessible_name_ = std::move(name); }

  /// The control's own flags, whatever its frame's are.
  bool Visible() const { return visible_; }
  void SetVisible(bool visible);
  bool Enabled() const { return enabled_; }
  void SetEnabled(bool enabled);
  const Rect& Bounds() const { return bounds_; }
  void SetBounds(const Rect& bounds);

  /// Visible and not inside a hidden frame.
  bool IsShown() const;
  /// Enabled and not inside a disabled frame.
  bool IsUsable() const;
  /// Takes part in the tab order.
  virtual bool TakesFocus() const { return false; }
  /// The focus has gone to another control.
  virtual void LoseFocus() {}
  /// One line that says all of the control but whether it has the focus.
  std::string Dump() const;
  /// What the dump says of its content; empty for nothing.
  virtual std::string Describe() const { return {}; }

 protected:
  Control(Form& form, std::string name, Rect bounds);

  /// Runs a handler inside the error boundary, as "form::control_event - ". Holds the form
  /// meanwhile.
  void RaiseEvent(std::string_view event, const Handler& handler);
  /// Reports a change, if the form is loaded.
  void Report(platform::ControlChange change);
  /// Whether the user can do anything with it now.
  bool TakesInput() const { return IsShown() && IsUsable(); }

 private:
  friend class Form;
  /// The form has been loaded or is being unloaded, or Enabled has changed.
  virtual void UpdateActivity() {}
  bool IsInside(const Control& frame) const;
  void ReportState();

  Form& form_;
  std::string name_;
  int index_ = -1;
  const Control* container_ = nullptr;
  std::string accessible_name_;
  bool visible_ = true;
  bool enabled_ = true;
  Rect bounds_;
};

}  // namespace corvessa
