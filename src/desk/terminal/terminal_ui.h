#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "desk/terminal/conversation.h"
#include "desk/terminal/timer_driver.h"
#include "platform/ui.h"

namespace corvessa::desk {

class Answers;
class Terminal;

/// A form or message box that was shown: safe to print, without control characters, lines ended by
/// LF. `answer` is the control pressed last, "OK" or "Cancel" of a message box, kClosedAnswer, or
/// empty when nobody answered (yet).
struct ShownBox {
  std::string name;
  std::string caption;
  std::string text;
  std::string answer;
};

struct TerminalUiOptions {
  /// Where complaints go, one line each.
  std::ostream& messages;
  std::function<TimerDriver::Time()> now = std::chrono::steady_clock::now;
};

/// Forms and message boxes on a terminal. What was answered beforehand is answered so; then a
/// person is asked, if there is one; else a prompt is closed as with its close box, which consents
/// to nothing, and a line says which. Windows that only tell how far things are take one status
/// line.
class TerminalUi final : public platform::Ui {
 public:
  /// Both must outlive it.
  TerminalUi(Terminal& terminal, Answers& answers, TerminalUiOptions options);
  ~TerminalUi() override;

  std::int32_t MessageBox(std::string_view text, std::string_view title,
                          std::int32_t flags) override;
  /// Records it. Nothing but the status line is drawn: the form is when RunForm asks what to do
  /// with it, and not at all when the program reads it itself.
  void ShowForm(Form& form) override;
  void RunModal(Form& form, Form* owner) override;
  void FormGone(Form& form) override;
  void WindowStyleChanged(Form& /*form*/) override {}
  /// Six pixels a column.
  int TextWidth(std::string_view text) override;
  /// Ticks the timers for the time that has passed and redraws the status line.
  void DoEvents() override;

  /// Answers a form that was shown without blocking, as if it were modal, until it is gone or the
  /// person leaves it open. Does nothing for a form that is not visible.
  void RunForm(Form& form);
  /// Lets that much time pass, and everything happen that happens meanwhile.
  void Wait(std::chrono::milliseconds time);

  /// One line to the user, whoever is there.
  void Report(std::string_view line);

  /// Everything shown so far, in order.
  const std::vector<ShownBox>& Boxes() const { return boxes_; }

 private:
  std::size_t Record(Form& form);
  void Answer(Form& form, Conversation::Leaving leaving);
  std::string AnswerBeforehand(Form& form);
  void CloseUnanswered(Form& form);
  std::string AskBox(std::string_view text, std::string_view title, std::int32_t flags);
  /// Asks whoever sits there until an answer is one.
  bool HasAgreed(bool can_cancel);
  std::string BoxAnsweredBeforehand();
  void RefreshStatus();
  std::chrono::milliseconds UntilNextTick() const;

  Terminal& terminal_;
  Answers& answers_;
  TerminalUiOptions options_;
  TimerDriver timers_;
  std::vector<ShownBox> boxes_;
  /// The visible forms and their places in boxes_.
  std::map<const Form*, std::size_t> on_screen_;
};

}  // namespace corvessa::desk
