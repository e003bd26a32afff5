#pragma once

#include <map>
#include <memory>
#include <string>
#include <windows.h>

#include "platform/ui.h"
#include "ui/form.h"

namespace corvessa::windows {

/// The property of every form's and control's window that holds its name in the model, as a global
/// atom: for programs that drive windows. A place in a control array stands behind it,
/// "optPick(0)".
inline constexpr auto kNameProperty = L"Corvessa.Name";

/// A class of windows of this module, registered while it lives.
class WindowClass {
 public:
  WindowClass(const wchar_t* name, WNDPROC procedure);
  ~WindowClass();
  WindowClass(const WindowClass&) = delete;
  WindowClass& operator=(const WindowClass&) = delete;
  const wchar_t* Name() const { return name_; }

 private:
  const wchar_t* name_;
};

/// The font of dialogs.
HFONT DialogFont();

/// The window of a loaded form. It is destroyed with this object; while one of its messages is
/// handled, the object stays.
class FormWindow : public std::enable_shared_from_this<FormWindow> {
 public:
  FormWindow(Form& form, const WindowClass& window_class);
  ~FormWindow();
  FormWindow(const FormWindow&) = delete;
  FormWindow& operator=(const FormWindow&) = delete;

  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM word, LPARAM data);

  HWND Handle() const { return handle_; }
  /// The form is gone; nothing of the model is touched from now on.
  void Detach() { form_ = nullptr; }
  void Show(bool modal);
  void Hide();
  void Update(platform::FormChange change);
  void Update(Control& control, platform::ControlChange change);

 private:
  LRESULT Handle(UINT message, WPARAM word, LPARAM data);
  void MakeControl(Control& control);
  void UpdateState(Control& control);
  void UpdateContent(Control& control);
  void OnCommand(int number, int notification);
  void OnNotify(const NMHDR& notification);
  void Resize();
  HWND WindowOf(const Control& control) const;

  Form* form_;
  HWND handle_ = nullptr;
  /// By the numbers of their windows.
  std::map<int, Control*> controls_;
  std::map<const Control*, HWND> windows_;
  /// Standard controls report also what the program does with them.
  bool is_updating_ = false;
};

}  // namespace corvessa::windows
