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

#include "forms/form.h"
#include "platform/files.h"
#include "platform/ui.h"

namespace corvessa::testing {

/// A Ui without a screen: each form and message box that the test expects is answered by the test,
/// any other fails it and is closed as with the close box. Off-screen forms are left alone.
class ScriptedUi final : public platform::Ui {
 public:
  using FormAnswer = std::function<void(Form&)>;

  struct Box {
    std::string text;
    std::string title;
    std::int32_t flags = 0;
    std::int32_t answer = 0;
    bool operator==(const Box&) const = default;
  };

  explicit ScriptedUi(platform::Files& files) : files_(files) {}

  /// The next form of that name that gets shown, modal or not, is handed to `answer`, which presses
  /// its controls. An answer that leaves a modal form open fails the test.
  void ExpectForm(std::string name, FormAnswer answer);
  /// The same with the form's own type: Expect<frmLogin>("frmLogin", [](frmLogin& form) { … }).
  template <class FormType, class Answer>
  void Expect(std::string name, Answer answer) {
    ExpectForm(std::move(name), [answer](Form& form) { answer(dynamic_cast<FormType&>(form)); });
  }
  /// Forms of that name may be shown any number of times, or never.
  void AllowForm(std::string name, FormAnswer answer = {});
  /// From now on what is not expected does not fail the test: a form is closed as with its close
  /// box, a box that asks gets the answer. For fault sweeps, which end in boxes of every kind.
  void AllowEverything(std::int32_t answer = platform::kAnswerCancel) {
    everything_allowed_ = true;
    answer_to_the_rest_ = answer;
  }
  /// The next message box with exactly this text gets that answer.
  void ExpectBox(std::string text, std::int32_t answer = platform::kAnswerOk);

  /// Everything shown, in order: "frmLogin modal", "frmProgress", "frmProgress forward" when a
  /// visible form was shown again, "box " and the text of a message box.
  const std::vector<std::string>& Shown() const { return shown_; }
  const std::vector<Box>& Boxes() const { return boxes_; }
  void ClearShown();
  /// Fails the test for each form or box that was expected and never came; forgets them.
  void FailOnMissing();

  /// Runs in every DoEvents, with the number of the call from 1.
  std::function<void(int)> on_do_events;
  /// Runs before every call, named as "Ui::ShowForm"; may throw.
  std::function<void(std::string_view)> before_call;

  std::int32_t MessageBox(std::string_view text, std::string_view title,
                          std::int32_t flags) override;
  void ShowForm(Form& form) override;
  void RunModal(Form& form, Form* owner) override;
  void FormGone(Form& form) override;
  void WindowStyleChanged(Form& form) override;
  /// Six pixels a character.
  int TextWidth(std::string_view text) override;
  void DoEvents() override;
  platform::PicturePtr LoadPicture(std::string_view path) override;

 private:
  void Announce(std::string_view call) const;
  bool Answer(Form& form);
  void CloseUnanswered(Form& form, std::string_view what) const;

  platform::Files& files_;
  std::map<std::string, std::deque<FormAnswer>> expected_;
  std::map<std::string, FormAnswer> allowed_;
  std::deque<std::pair<std::string, std::int32_t>> expected_boxes_;
  std::vector<std::string> shown_;
  std::vector<Box> boxes_;
  std::set<const Form*> on_screen_;
  int do_events_calls_ = 0;
  bool everything_allowed_ = false;
  std::int32_t answer_to_the_rest_ = platform::kAnswerCancel;
};

}  // namespace corvessa::testing
