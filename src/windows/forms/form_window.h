#pragma once

#include <functional>
#include <memory>
#include <vector>
#include <windows.h>

#include "platform/ui.h"
#include "ui/form.h"
#include "windows/forms/control_window.h"
#include "windows/forms/keyboard.h"
#include "windows/forms/tool_tips.h"

namespace corvessa::windows {

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
class FormWindow : public std::enable_shared_from_this<FormWindow> {
 public:
  /// A message of the window or one of its controls is being handled: neither may be destroyed.
  class InUse {
   public:
    explicit InUse(FormWindow& window) : window_(window) { ++window_.uses_; }
    ~InUse() {
      if (--window_.uses_ == 0 && !window_.form_ && window_.on_released_) window_.on_released_();
    }
    InUse(const InUse&) = delete;
    InUse& operator=(const InUse&) = delete;

   private:
    FormWindow& window_;
  };

  /// `on_released` runs when the form is gone and the window may be destroyed; not in here.
  FormWindow(Form& form, const WindowClass& window_class, const Metrics& metrics, HWND owner,
             std::function<void()> on_released);
  ~FormWindow();
  FormWindow(const FormWindow&) = delete;
  FormWindow& operator=(const FormWindow&) = delete;

  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM word, LPARAM data);
  /// The object of such a window; null for any other.
  static FormWindow* Of(HWND window);

  HWND Handle() const { return handle_; }
  const Metrics& Measures() const { return metrics_; }
  /// Null when the form is gone.
  Form* Model() const { return form_; }
  bool IsInUse() const { return uses_ > 0; }
  /// The form is gone; nothing of the model is touched from now on.
  void Detach();
  void Show(bool modal);
  void Hide();
  void Update(platform::FormChange change);
  void Update(Control& control, platform::ControlChange change);

  /// A key that means something in the form becomes kFormKeyMessage.
  void TranslateKey(MSG& message) const;
  /// For the controls: one of them has got the focus.
  void FocusReached(ControlWindow& control);
  /// Puts the focus where the model has it.
  void PlaceFocus();
  void MarkDefaultButton();
  void ShowTip(ControlWindow& control);
  /// What the control stands on, as a brush that is set up for drawing in its window.
  HBRUSH BackgroundOf(const ControlWindow& control, HDC context);

 private:
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
  static BOOL CALLBACK PassOn(HWND window, LPARAM owner);
  void RemoveNames() const;
  /// The system has destroyed the window with the one that owns it.
  void LoseWindow();

  Form* form_;
  const Metrics& metrics_;
  std::function<void()> on_released_;
  HWND handle_ = nullptr;
  ToolTips tips_;
  std::vector<std::unique_ptr<ControlWindow>> controls_;
  int uses_ = 0;
  bool is_placing_focus_ = false;
  bool is_resizing_ = false;
  bool was_placed_ = false;
};

}  // namespace corvessa::windows
