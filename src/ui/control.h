#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace corvessa {

class Form;

/// Position and size in pixels of a 96-dpi screen, relative to the form's client area.
struct Rect {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

/// One control of a form model. It registers itself with its form when it is made, so a form's
/// members in declaration order are its controls in control order, which is also the tab order.
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

  /// Visible and not inside a hidden frame.
  bool IsShown() const;
  /// Enabled and not inside a disabled frame.
  bool IsUsable() const;
  /// Takes part in the tab order.
  virtual bool TakesFocus() const { return false; }
  /// What the dump of a form says of the control after its name; empty for nothing.
  virtual std::string Describe() const { return {}; }

  bool Visible = true;
  bool Enabled = true;
  Rect Bounds;

 protected:
  Control(Form& form, std::string name, Rect bounds);

  /// Runs a handler inside the error boundary, as "form::control_event - ". Holds the form
  /// meanwhile.
  void RaiseEvent(std::string_view event, const Handler& handler);

 private:
  Form& form_;
  std::string name_;
  int index_ = -1;
  const Control* container_ = nullptr;
};

}  // namespace corvessa
