#pragma once

#include <map>
#include <memory>
#include <vector>
#include <windows.h>

#include "platform/ui.h"
#include "windows/forms/form_window.h"

namespace corvessa::windows {

/// Forms as windows of standard controls, as their models lie, in the system's dialog font. Each
/// window and control carries its model's name, see kNameProperty. The look is plain: pictures are
/// not drawn, and text is not scaled.
class PlainUi final : public platform::Ui {
 public:
  PlainUi();
  ~PlainUi() override;
  PlainUi(const PlainUi&) = delete;
  PlainUi& operator=(const PlainUi&) = delete;

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
  static LRESULT CALLBACK TimerProcedure(HWND window, UINT message, WPARAM word, LPARAM data);

  FormWindow& WindowOf(Form& form);
  FormWindow* FindWindowOf(Form& form);
  /// Gives the message to the form that it belongs to, or to whoever else is to have it.
  void Dispatch(MSG& message);
  void Tick(UINT_PTR number);

  WindowClass form_class_;
  WindowClass timer_class_;
  /// A window without a screen, so that no tick is left over when it is gone.
  HWND timer_window_ = nullptr;
  std::map<Form*, std::shared_ptr<FormWindow>> windows_;
  std::map<UINT_PTR, Timer*> timers_;
  UINT_PTR last_timer_ = 0;
};

}  // namespace corvessa::windows
