#pragma once

#include <map>
#include <memory>
#include <vector>
#include <windows.h>

#include "platform/ui.h"
#include "windows/forms/form_window.h"
#include "windows/forms/keyboard_hook.h"
#include "windows/forms/metrics.h"
#include "windows/forms/modality.h"
#include "windows/forms/visual_styles.h"

namespace corvessa::windows {

/// Forms as windows of standard controls. Each window and control carries its model's name, see
/// kNameProperty. All calls come from the thread that made it.
class WindowsUi final : public platform::Ui {
 public:
  explicit WindowsUi(int dpi = ScreenDpi());
  ~WindowsUi() override;
  WindowsUi(const WindowsUi&) = delete;
  WindowsUi& operator=(const WindowsUi&) = delete;

  std::int32_t ShowBox(std::string_view text, std::string_view title, std::int32_t flags) override;
  void ShowForm(Form& form) override;
  void RunModal(Form& form, Form* owner) override;
  void DoEvents() override;
  int TextWidth(std::string_view text) override;

  void FormLoaded(Form& form) noexcept override;
  void FormHidden(Form& form) noexcept override;
  void FormUnloaded(Form& form) noexcept override;
  void FormChanged(Form& form, platform::FormChange change) noexcept override;
  void ControlChanged(Form& form, Control& control,
                      platform::ControlChange change) noexcept override;
  void TimerStarted(Timer& timer) noexcept override;
  void TimerStopped(Timer& timer) noexcept override;

 private:
  static LRESULT CALLBACK ServiceProcedure(HWND window, UINT message, WPARAM word, LPARAM data);

  /// Made when the form is shown for the first time.
  FormWindow& WindowOf(Form& form, Form* owner);
  FormWindow* FindWindowOf(Form& form);
  HWND OwnerFor(Form* owner);
  void RunLoop(Form& form);
  void Tick(UINT_PTR number);
  /// Destroys the windows of forms that are gone, unless one of their messages is being handled.
  void Sweep();

  Metrics metrics_;
  VisualStyles styles_;
  WindowClass form_class_;
  WindowClass service_class_;
  KeyboardHook keyboard_;
  Modality modality_;
  /// A window without a screen that gets the timers' messages and those of this object to itself.
  /// None is left over when it is gone.
  HWND service_window_ = nullptr;
  std::map<Form*, std::shared_ptr<FormWindow>> windows_;
  std::vector<std::shared_ptr<FormWindow>> leaving_;
  std::map<UINT_PTR, Timer*> timers_;
  UINT_PTR last_timer_ = 0;
};

}  // namespace corvessa::windows
