#include "support/scripted_ui.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <utility>

#include "base/text.h"

namespace corvessa::testing {

void ScriptedUi::FailOnMissing() {
  for (const auto& [name, answers] : std::exchange(expected_, {})) {
    if (!answers.empty()) {
      ADD_FAILURE() << "form " << name << " was to be shown " << answers.size() << " times more";
    }
  }
  for (const Box& box : std::exchange(boxes_, {})) {
    ADD_FAILURE() << "a message box was to be shown: " << box.text;
  }
}

void ScriptedUi::Elapse(std::int32_t milliseconds) {
  for (std::int32_t passed = 0; passed < milliseconds; ++passed) {
    // A copy, because a tick may start and stop timers.
    for (const auto& [timer, left] : std::map(timers_)) {
      const auto running = timers_.find(timer);
      if (running == timers_.end() || --running->second > 0) continue;
      running->second = timer->Interval();
      timer->Tick();
    }
  }
}

void ScriptedUi::ExpectReported(const Form& form) {
  for (const auto& [control, shown] : copies_[&form]) {
    EXPECT_EQ(shown, control ? control->Dump() : WindowOf(form)) << "not reported";
  }
}

std::int32_t ScriptedUi::ShowBox(std::string_view text, std::string_view title,
                                 std::int32_t flags) {
  Announce("Ui::ShowBox");
  const bool can_cancel = (flags & platform::kBoxOkCancel) != 0;
  std::int32_t answer = can_cancel ? answer_to_the_rest_ : platform::kAnswerOk;
  const auto expected =
      std::find_if(boxes_.begin(), boxes_.end(), [&](const Box& box) { return box.text == text; });
  if (expected == boxes_.end()) {
    if (!everything_allowed_) ADD_FAILURE() << "unexpected message box: " << text;
  } else {
    EXPECT_EQ(flags, expected->flags) << text;
    EXPECT_EQ(title, "Corvessa Professional for Outlook") << text;
    answer = expected->answer;
    boxes_.erase(expected);
  }
  shown_.push_back("box " + std::string(text));
  return answer;
}

void ScriptedUi::ShowForm(Form& form) {
  Announce("Ui::ShowForm");
  ExpectReported(form);
  // Nothing for a user to see or to answer.
  if (form.IsOffScreen()) return;
  if (!on_screen_.insert(&form).second) {
    shown_.push_back(form.Name() + " forward");
    return;
  }
  shown_.push_back(form.Name());
  if (!Answer(form)) CloseUnanswered(form, "unexpected form");
}

void ScriptedUi::RunModal(Form& form, Form* /*owner*/) {
  Announce("Ui::RunModal");
  ExpectReported(form);
  on_screen_.insert(&form);
  shown_.push_back(form.Name() + " modal");
  const bool is_answered = Answer(form);
  if (form.IsVisible() || !is_answered) {
    CloseUnanswered(form, is_answered ? "left open by its answer" : "unexpected form");
  }
  // A form that refuses to close would hold up the test for ever.
  if (form.IsVisible()) form.Hide();
}

void ScriptedUi::FormLoaded(Form& form) noexcept {
  copies_[&form][nullptr] = WindowOf(form);
  for (const Control* control : form.Controls()) copies_[&form][control] = control->Dump();
}

void ScriptedUi::FormHidden(Form& form) noexcept {
  ExpectReported(form);
  on_screen_.erase(&form);
}

void ScriptedUi::FormUnloaded(Form& form) noexcept {
  ExpectReported(form);
  copies_.erase(&form);
}

void ScriptedUi::FormChanged(Form& form, platform::FormChange /*change*/) noexcept {
  copies_[&form][nullptr] = WindowOf(form);
}

void ScriptedUi::ControlChanged(Form& form, Control& control,
                                platform::ControlChange change) noexcept {
  // A long log is not looked at again for each of its lines.
  if (change == platform::ControlChange::kAppended) {
    copies_[&form].erase(&control);
  } else {
    copies_[&form][&control] = control.Dump();
  }
}

int ScriptedUi::TextWidth(std::string_view text) {
  Announce("Ui::TextWidth");
  const auto marks = std::count(text.begin(), text.end(), '\xCC');
  return (static_cast<int>(Length(text)) - static_cast<int>(marks)) * 6;
}

void ScriptedUi::DoEvents() {
  Announce("Ui::DoEvents");
  ++do_events_calls_;
  if (on_do_events) on_do_events(do_events_calls_);
}

std::string ScriptedUi::WindowOf(const Form& form) {
  const platform::PicturePtr& icon = form.Icon();
  return std::string(form.Dump(), 0, form.Dump().find('\n')) + (icon ? icon->source : "") + " " +
         (form.Focus() ? form.Focus()->Name() : "");
}

void ScriptedUi::Announce(std::string_view call) const {
  if (before_call) before_call(call);
}

bool ScriptedUi::Answer(Form& form) {
  if (auto& queue = expected_[form.Name()]; !queue.empty()) {
    const FormAnswer answer = std::move(queue.front());
    queue.pop_front();
    if (answer) answer(form);
    return true;
  }
  const auto allowed = allowed_.find(form.Name());
  if (allowed == allowed_.end()) return false;
  // A copy, because the answer may change what is allowed.
  if (const FormAnswer answer = allowed->second) answer(form);
  return true;
}

void ScriptedUi::CloseUnanswered(Form& form, std::string_view what) const {
  if (!everything_allowed_) ADD_FAILURE() << what << ":\n" << form.Dump();
  form.PressCloseBox();
}

}  // namespace corvessa::testing
