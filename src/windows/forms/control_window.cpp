#include "windows/forms/control_window.h"

#include <utility>

#include "base/text.h"
#include "win32/module.h"
#include "win32/utf16.h"
#include "windows/com/errors.h"
#include "windows/forms/metrics.h"

namespace corvessa::windows {
namespace {

std::string NameOf(const Control& control) {
  if (control.Index() < 0) return control.Name();
  return control.Name() + "(" + Decimal(control.Index()) + ")";
}

}  // namespace

void SetNameProperty(HWND window, const std::string& name) {
  const ATOM atom = GlobalAddAtomW(win32::ShownUtf16(name).c_str());
  SetPropW(window, kNameProperty, reinterpret_cast<HANDLE>(static_cast<UINT_PTR>(atom)));
}

void RemoveNameProperty(HWND window) {
  const auto atom = reinterpret_cast<UINT_PTR>(RemovePropW(window, kNameProperty));
  if (atom != 0) GlobalDeleteAtom(static_cast<ATOM>(atom));
}

ControlWindow::ControlWindow(ControlSite& site, Control& control, const Kind& kind)
    : site_(site), control_(control) {
  const RECT place = site.Measures().OnScreen(control.Bounds());
  handle_ =
      CreateWindowExW(kind.extended_style, kind.window_class, L"", WS_CHILD | kind.style,
                      place.left, place.top, place.right - place.left, place.bottom - place.top,
                      site.Handle(), nullptr, win32::ThisModule(), nullptr);
  if (!handle_) com::Check(HRESULT_FROM_WIN32(GetLastError()));
  Send(WM_SETFONT, reinterpret_cast<WPARAM>(site.Measures().DialogFont()));
  SetNameProperty(handle_, NameOf(control));
  SetWindowLongPtrW(handle_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  standard_procedure_ = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrW(handle_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(Procedure)));
}

ControlWindow::~ControlWindow() {
  SetWindowLongPtrW(handle_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(standard_procedure_));
  RemoveNameProperty(handle_);
  DestroyWindow(handle_);
}

LRESULT CALLBACK ControlWindow::Procedure(HWND window, UINT message, WPARAM word, LPARAM data) {
  auto& control = *reinterpret_cast<ControlWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  const ControlSite::InUse in_use(control.site_);
  // The model learns of a focus that came by itself when the user first works with the control.
  const bool is_worked_with = message == WM_LBUTTONDOWN || message == WM_CHAR;
  if (is_worked_with && GetFocus() == window) control.site_.FocusReached(control);
  const LRESULT result = control.OnMessage(message, word, data);
  if (message == WM_SETFOCUS && GetFocus() == window) control.site_.FocusReached(control);
  return result;
}

LRESULT ControlWindow::OnMessage(UINT message, WPARAM word, LPARAM data) {
  return CallWindowProcW(standard_procedure_, handle_, message, word, data);
}

void ControlWindow::Update(platform::ControlChange change) {
  using enum platform::ControlChange;
  const bool before = std::exchange(updating_, true);
  if (change == kState) {
    UpdateState();
  } else if (change == kBounds) {
    UpdateBounds();
  } else if (change == kAppended) {
    UpdateAppended();
  } else {
    UpdateContent();
  }
  updating_ = before;
  if (change == kBounds || change == kContent) site_.ShowTip(*this);
}

void ControlWindow::UpdateState() {
  const bool is_usable = control_.IsUsable();
  const bool is_shown = control_.IsShown();
  const bool loses_focus = GetFocus() == handle_ && !(is_usable && is_shown);
  EnableWindow(handle_, is_usable);
  ShowWindow(handle_, is_shown ? SW_SHOWNA : SW_HIDE);
  if (loses_focus) site_.PlaceFocus();
}

void ControlWindow::UpdateBounds() {
  const RECT place = Measures().OnScreen(control_.Bounds());
  SetWindowPos(handle_, nullptr, place.left, place.top, place.right - place.left,
               place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace corvessa::windows
