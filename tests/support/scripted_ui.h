#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/ui.h"
#include "ui/controls.h"
#include "ui/form.h"

namespace corvessa::testing {

/// A Ui without a screen: each form and message box that the test expects is answered by the test,
/// any other fails it and is closed as with the close box. Off-screen forms are left alone. Keeps a
/// copy of every loaded form, as windows do, and fails the test when the model has changed without
/// a report.
class ScriptedUi final : public platform::Ui {
 public:
  using FormAnswer = std::function<void(Form&)>;

  /// The next form of that name that gets shown, modal or not, is handed to `answer`, which presses
  /// its controls. An answer that leaves a modal form open fails the test.
  void ExpectForm(std::string name, FormAnswer answer) {
    expected_[std::move(name)].push_back(std::move(answer));
  }
  /// An answer that presses that button, or the close box for none.
  static FormAnswer Press(std::string button = "") {
    return [name = std::move(button)](Form& form) {
      if (!name.empty()) return form.Find<CommandButton>(name)->Press();
      form.PressCloseBox();
    };
  }
  /// The same with the form's own type: Expect<frmLogin>("frmLogin", [](frmLogin& form) { … }).
  template <typename FormType, typename Answer>
  void Expect(const std::string& name, Answer answer) {
    ExpectForm(name, [answer](Form& form) { answer(dynamic_cast<FormType&>(form)); });
  }
  /// Forms of that name may be shown any number of times, or never.
  void AllowForm(std::string name, FormAnswer answer = {}) {
    allowed_[std::move(name)] = std::move(answer);
  }
  /// From now on what is not expected does not fail the test: a form is closed as with its close
  /// box, a box that asks gets the answer. For fault sweeps, which end in boxes of every kind.
  void AllowEverything(std::int32_t answer = platform::kAnswerCancel) {
    everything_allowed_ = true;
    answer_to_the_rest_ = answer;
  }
  /// The next message box with exactly this text tells something: it has OK only and the
  /// information icon. One of ExpectErrorBox has the stop icon.
  void ExpectBox(std::string text) {
    boxes_.push_back({std::move(text), platform::kBoxInformation, platform::kAnswerOk});
  }
  void ExpectErrorBox(std::string text) {
    boxes_.push_back({std::move(text), platform::kBoxError, platform::kAnswerOk});
  }
  /// The same of one that asks: it has OK and Cancel and gets that answer.
  void ExpectBox(std::string text, std::int32_t answer) {
    boxes_.push_back({std::move(text), platform::kBoxInformation | platform::kBoxOkCancel, answer});
  }

  /// Everything shown, in order: "frmLogin modal", "frmProgress", "frmProgress forward" when a
  /// visible form was shown again, "box " and the text of a message box.
  const std::vector<std::string>& Shown() const { return shown_; }
  void ClearShown() { shown_.clear(); }
  /// Fails the test for each form or box that was expected and never came; forgets them.
  void FailOnMissing();

  /// Runs in every DoEvents, with the number of the call from 1.
  std::function<void(int)> on_do_events;
  /// Runs before every call, named as "Ui::ShowForm"; may throw.
  std::function<void(std::string_view)> before_call;

  /// That much time passes: the timers that run tick.
  void Elapse(std::int32_t milliseconds);
  /// Fails the test for each change of the form that was not reported.
  void ExpectReported(const Form& form);

  std::int32_t ShowBox(std::string_view text, std::string_view title, std::int32_t flags) override;
  void ShowForm(Form& form) override;
  void RunModal(Form& form, Form* /*owner*/) override;
  void FormLoaded(Form& form) noexcept override;
  void FormHidden(Form& form) noexcept override;
  void FormUnloaded(Form& form) noexcept override;
  void FormChanged(Form& form, platform::FormChange /*change*/) noexcept override;
  void ControlChanged(Form& form, Control& control,
                      platform::ControlChange change) noexcept override;
  void TimerStarted(Timer& timer) noexcept override { timers_[&timer] = timer.Interval(); }
  void TimerStopped(Timer& timer) noexcept override { timers_.erase(&timer); }
  /// Six pixels a character, none for a combining mark from U+0300 on.
  int TextWidth(std::string_view text) override;
  void DoEvents() override;

 private:
  struct Box {
    std::string text;
    std::int32_t flags;
    std::int32_t answer;
  };

  static std::string WindowOf(const Form& form);

  void Announce(std::string_view call) const;
  bool Answer(Form& form);
  void CloseUnanswered(Form& form, std::string_view what) const;

  std::map<std::string, std::deque<FormAnswer>> expected_;
  std::map<std::string, FormAnswer> allowed_;
  std::deque<Box> boxes_;
  std::vector<std::string> shown_;
  std::set<const Form*> on_screen_;
  /// What the back end would show of each form: its controls and, for none, its window.
  std::map<const Form*, std::map<const Control*, std::string>> copies_;
  /// The timers that run, with the milliseconds until they tick.
  std::map<Timer*, std::int32_t> timers_;
  int do_events_calls_ = 0;
  bool everything_allowed_ = false;
  std::int32_t answer_to_the_rest_ = platform::kAnswerCancel;
};

}  // namespace corvessa::testing
