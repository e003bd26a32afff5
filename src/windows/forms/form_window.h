#pragma once

#include <functional>
#include <memory>
#include <vector>
#include <windows.h>

#include "platform/ui.h"
#include "ui/form.h"
#include "windows/forms/control_site.h"
#include "windows/forms/control_window.h"
#include "windows/forms/keyboard.h"
#include "windows/forms/tool_tips.h"

namespace corvessa::windows {

/// The message that a form's window gets in place of one whose key means something in the form.
/// WPARAM and LPARAM are those of a FormKey.
inline constexpr UINT kFormKeyMessage = WM_APP + 1;

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

/// The window of a loaded form. It is destroyed with this object.
class FormWindow final : public ControlSite, public std::enable_shared_from_this<FormWindow> {
 public:
  /// `on_released` runs when the form is gone and the window may be destroyed; not in here.
  FormWindow(Form& form, const WindowClass& window_class, const Metrics& metrics, HWND owner,
             std::function<void()> on_released);
  ~FormWindow();
  FormWindow(const FormWindow&) = delete;
  FormWindow& operator=(const FormWindow&) = delete;

  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM word, LPARAM data);
  /// The object of such a window; null for any other.
  static FormWindow* Of(HWND window);

  HWND Handle() const override { return handle_; }
  const Metrics& Measures() const override { return metrics_; }
  /// Null when the form is gone.
  Form* Model() const { return form_; }
  /// The form is gone; nothing of the model is touched from now on.
  void Detach();
  void Show(bool modal);
  void Hide();
  void Update(platform::FormChange change);
  void Update(Control& control, platform::ControlChange change);

  /// A key that means something in the form becomes kFormKeyMessage.
  void TranslateKey(MSG& message) const;
  void FocusReached(ControlWindow& control) override;
  void PlaceFocus() override;
  void MarkDefaultButton() override;
  void ShowTip(ControlWindow& control) override;
  HBRUSH BackgroundOf(const ControlWindow& control, HDC context) override;

 private:
  void OnUnused() override {
    if (!form_ && on_released_) on_released_();
  }
  LRESULT OnMessage(UINT message, WPARAM word, LPARAM data);
  void MakeControls();
  ControlWindow* WindowOf(const Control& control) const;
  ControlWindow* WindowOf(HWND window) const;
  void DoKey(const FormKey& key);
  void Resize();
  void ResizedByUser(int width, int height);
  void BringOntoScreen();
  /// What the window owns gets its owner as owner, and lives on.
  void PassOnOwned() const;
  static BOOL CALLBACK GiveOwner(HWND window, LPARAM owner);
  /// To all controls.
  void PassOn(UINT message) const;
  void RemoveNames() const;
  /// The system has destroyed the window with the one that owns it.
  void LoseWindow();

  Form* form_;
  const Metrics& metrics_;
  std::function<void()> on_released_;
  HWND handle_ = nullptr;
  ToolTips tips_;
  std::vector<std::unique_ptr<ControlWindow>> controls_;
  bool is_placing_focus_ = false;
  bool is_resizing_ = false;
  bool was_placed_ = false;
};

}  // namespace corvessa::windows
