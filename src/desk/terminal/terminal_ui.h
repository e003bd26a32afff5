#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "desk/terminal/conversation.h"
#include "desk/terminal/timer_driver.h"
#include "platform/ui.h"

namespace corvessa::desk {

class Answers;
class Terminal;

/// A form or message box that was shown. Safe to print, lines ended by LF. `answer` is the control
/// pressed last, "OK" or "Cancel" of a message box, kClosedAnswer, or empty without an answer
/// (yet).
struct ShownBox {
  std::string name;
  std::string caption;
  std::string text;
  std::string answer;
};

struct TerminalUiOptions {
  /// For lines to the user.
  std::ostream& messages;
  std::function<TimerDriver::Time()> now = std::chrono::steady_clock::now;
};

/// Forms and message boxes on a terminal. Answers from the command line come first; then the user
/// is asked, if there is one; otherwise the prompt is closed with its close box, which never
/// consents, and a line to the user names it. Progress windows are one status line.
class TerminalUi final : public platform::Ui {
 public:
  /// Both must outlive it.
  TerminalUi(Terminal& terminal, Answers& answers, TerminalUiOptions options);
  ~TerminalUi() override;

  std::int32_t ShowBox(std::string_view text, std::string_view title, std::int32_t flags) override;
  /// Records the form and draws only the status line. RunForm draws the form; a form that the
  /// program itself reads is never drawn.
  void ShowForm(Form& form) override;
  void RunModal(Form& form, Form* owner) override;
  /// Ticks the timers for the time that has passed and redraws the status line.
  void DoEvents() override;
  /// Six pixels a column.
  int TextWidth(std::string_view text) override;
  /// Forms are drawn from their models each time, so that there is no copy to keep up to date.
  void FormLoaded(Form& /*form*/) noexcept override {}
  void FormHidden(Form& form) noexcept override;
  void FormUnloaded(Form& /*form*/) noexcept override {}
  void FormChanged(Form& /*form*/, platform::FormChange /*change*/) noexcept override {}
  void ControlChanged(Form& /*form*/, Control& /*control*/,
                      platform::ControlChange /*change*/) noexcept override {}
  void TimerStarted(Timer& timer) noexcept override { timers_.Start(timer, options_.now()); }
  void TimerStopped(Timer& timer) noexcept override { timers_.Stop(timer); }

  /// Runs a modeless form as if it were modal, until it is gone or the user leaves it open. Does
  /// nothing if the form is not visible.
  void RunForm(Form& form);
  /// Lets time pass; timers run.
  void Wait(std::chrono::milliseconds time);

  /// Writes a line to the user.
  void Report(std::string_view line);

  /// Every form and box shown so far, or since StartBoxes, in order.
  std::span<const ShownBox> Boxes() const { return std::span(boxes_).subspan(first_box_); }
  void StartBoxes() { first_box_ = boxes_.size(); }

 private:
  std::size_t Record(Form& form);
  void Answer(Form& form, Conversation::Leaving leaving);
  std::string GiveFormAnswers(Form& form);
  void CloseUnanswered(Form& form);
  std::string AskBox(std::string_view text, std::string_view title, std::int32_t flags);
  /// Asks the user until the answer is valid.
  bool HasAgreed(bool can_cancel);
  std::string GivenBoxAnswer();
  void RefreshStatus();
  std::chrono::milliseconds UntilNextTick() const;

  Terminal& terminal_;
  Answers& answers_;
  TerminalUiOptions options_;
  TimerDriver timers_;
  std::vector<ShownBox> boxes_;
  std::size_t first_box_ = 0;
  /// The visible forms and their indexes in boxes_.
  std::map<const Form*, std::size_t> on_screen_;
};

}  // namespace corvessa::desk
