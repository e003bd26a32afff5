#pragma once

#include <cstdint>
#include <string_view>

namespace corvessa {
class Control;
class Form;
class Timer;
}  // namespace corvessa

namespace corvessa::platform {

/// Message box flags: icon and buttons.
inline constexpr std::int32_t kBoxOk = 0;
inline constexpr std::int32_t kBoxOkCancel = 1;
inline constexpr std::int32_t kBoxError = 16;
inline constexpr std::int32_t kBoxInformation = 64;
/// Answers of a message box.
inline constexpr std::int32_t kAnswerOk = 1;
inline constexpr std::int32_t kAnswerCancel = 2;

/// What of a form has changed.
enum class FormChange : std::uint8_t { kCaption, kIcon, kSize, kFocus, kTopmost, kTaskbarEntry };

/// What of a control has changed.
enum class ControlChange : std::uint8_t {
  /// Whether it is shown or usable.
  kState,
  kBounds,
  /// Anything else that is drawn: caption, text, rows, marks, picture, value, default button.
  kContent,
  /// A text box's text has grown at its end; what stood there before is the same.
  kAppended,
};

/// Draws form models and feeds the user's input back into them. Holds no rule of its own: whatever
/// a form does, its model does (ui/form.h). A back end may read the models whenever it draws, as a
/// terminal does, or keep a window for each and update it when it is told of a change.
///
/// From FormLoaded to FormUnloaded the back end is told of every change of the form and of its
/// controls, also of those that it brought in itself by the user's input, so it compares before it
/// sets. It may collect changes and show them when it lets events run next. After FormUnloaded it
/// must not touch the form again; the model may be gone. A change may come in during any call.
class Ui {
 public:
  virtual ~Ui() = default;

  /// Shows a message box, owned by the foreground window. Gives kAnswerOk or kAnswerCancel; a box
  /// that nobody can answer counts as cancelled if it can be, as OK otherwise.
  virtual std::int32_t ShowBox(std::string_view text, std::string_view title,
                               std::int32_t flags) = 0;
  /// The form has become visible, without blocking; or is to come forward if it already is.
  virtual void ShowForm(Form& form) = 0;
  /// Shows the form and lets events run until it is no longer visible. `owner` may be null.
  virtual void RunModal(Form& form, Form* owner) = 0;
  /// Lets pending events run once; any other event of the add-in may come in.
  virtual void DoEvents() = 0;
  /// The drawn width of a text in the dialog font, in pixels of a 96-dpi screen.
  virtual int TextWidth(std::string_view text) = 0;

  /// The form exists from now on, still invisible. Its load handler has not run yet.
  virtual void FormLoaded(Form& form) noexcept = 0;
  /// A visible form is so no longer; its modal loop ends. It stays loaded.
  virtual void FormHidden(Form& form) noexcept = 0;
  /// The form is no longer loaded. If it was visible, FormHidden came before.
  virtual void FormUnloaded(Form& form) noexcept = 0;
  virtual void FormChanged(Form& form, FormChange change) noexcept = 0;
  virtual void ControlChanged(Form& form, Control& control, ControlChange change) noexcept = 0;
  /// The timer is to tick every Interval() milliseconds, for the first time after one interval.
  virtual void TimerStarted(Timer& timer) noexcept = 0;
  /// It ticks no more. A running timer is stopped before its form is unloaded.
  virtual void TimerStopped(Timer& timer) noexcept = 0;
};

}  // namespace corvessa::platform
