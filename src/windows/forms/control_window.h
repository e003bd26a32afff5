#pragma once

#include <memory>
#include <string>
#include <windows.h>

#include "platform/ui.h"
#include "ui/control.h"
#include "windows/forms/control_site.h"

namespace corvessa::windows {

/// The property of every form's and control's window that holds its name in the model, as a global
/// atom: for programs that drive windows. A place in a control array stands behind it,
/// "optPick(0)".
inline constexpr auto kNameProperty = L"Corvessa.Name";

void SetNameProperty(HWND window, const std::string& name);
void RemoveNameProperty(HWND window);

/// The window of a control, a standard control of the system. Shows the model and passes the user's
/// input to it. After a call into the model the model may be gone; this object is not.
class ControlWindow {
 public:
  /// The window's class, its style beside WS_CHILD, and its extended style.
  struct Kind {
    const wchar_t* window_class;
    DWORD style = 0;
    DWORD extended_style = 0;
  };

  ControlWindow(const ControlWindow&) = delete;
  ControlWindow& operator=(const ControlWindow&) = delete;
  virtual ~ControlWindow();

  HWND Handle() const { return handle_; }
  Control& Model() const { return control_; }
  void Update(platform::ControlChange change);

  /// WM_COMMAND and WM_NOTIFY of this control.
  virtual void OnCommand(int /*notification*/) {}
  virtual LRESULT OnNotify(const NMHDR& /*notification*/) { return 0; }
  /// WM_DRAWITEM, for controls that draw themselves.
  virtual void Draw(const DRAWITEMSTRUCT& /*drawing*/) {}
  /// Gives it the focus as the keyboard or the program does.
  virtual void TakeFocus() { SetFocus(handle_); }
  /// Stands behind the other controls, which lie on it.
  virtual bool IsBackground() const { return false; }
  /// What it draws under the controls that lie on it; null for nothing.
  virtual HBRUSH PageBrush() { return nullptr; }
  /// The text that does not fit, for a tool tip; empty when all is seen.
  virtual std::wstring HiddenText() const { return {}; }

 protected:
  ControlWindow(ControlSite& site, Control& control, const Kind& kind);

  /// Shows the content of the model. Runs with IsUpdating().
  virtual void UpdateContent() {}
  virtual void UpdateAppended() { UpdateContent(); }
  virtual void UpdateBounds();
  /// A message to the window itself.
  virtual LRESULT OnMessage(UINT message, WPARAM word, LPARAM data);
  /// Standard controls report also what the program does with them.
  bool IsUpdating() const { return updating_; }
  LRESULT Send(UINT message, WPARAM word = 0, LPARAM data = 0) const {
    return SendMessageW(handle_, message, word, data);
  }
  const Metrics& Measures() const { return site_.Measures(); }
  ControlSite& Site() const { return site_; }

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM word, LPARAM data);
  void UpdateState();

  ControlSite& site_;
  Control& control_;
  HWND handle_ = nullptr;
  WNDPROC standard_procedure_ = nullptr;
  bool updating_ = false;
};

}  // namespace corvessa::windows
