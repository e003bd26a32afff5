#pragma once

#include <cstdint>
#include <string_view>

namespace corvessa {
class Form;
}

namespace corvessa::platform {

/// Message box flags: icon and buttons.
inline constexpr std::int32_t kBoxOk = 0;
inline constexpr std::int32_t kBoxOkCancel = 1;
inline constexpr std::int32_t kBoxError = 16;
inline constexpr std::int32_t kBoxInformation = 64;
/// Answers of a message box.
inline constexpr std::int32_t kAnswerOk = 1;
inline constexpr std::int32_t kAnswerCancel = 2;

/// Draws form models and feeds the user's input back into them; holds no rule of its own. The
/// models keep their state (visible, modal, topmost, focus, …) and call these to have it shown, so
/// that an implementation may read the model at any time and need not keep a copy.
class Ui {
 public:
  virtual ~Ui() = default;
  /// Owned by the foreground window. Gives kAnswerOk or kAnswerCancel; a box that nobody can answer
  /// counts as cancelled when it can be, as OK otherwise.
  virtual std::int32_t MessageBox(std::string_view text, std::string_view title,
                                  std::int32_t flags) = 0;
  /// The form has become visible, without blocking; or is to come forward when it already is.
  virtual void ShowForm(Form& form) = 0;
  /// Runs a nested message loop until the form is no longer visible. `owner` may be null.
  virtual void RunModal(Form& form, Form* owner) = 0;
  /// The form has been hidden or unloaded.
  virtual void FormGone(Form& form) = 0;
  /// The form's Topmost or ShowsInTaskbar has changed.
  virtual void WindowStyleChanged(Form& form) = 0;
  /// The drawn width of a text in the dialog font, in pixels.
  virtual int TextWidth(std::string_view text) = 0;
  /// Lets pending window events run once; any other event of the add-in may come in.
  virtual void DoEvents() = 0;
};

}  // namespace corvessa::platform
