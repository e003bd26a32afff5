#include "support/scripted_ui.h"

#include <algorithm>
#include <gtest/gtest.h>

#include "base/text.h"
#include "desk/profile/pictures.h"

namespace corvessa::testing {

void ScriptedUi::ExpectForm(std::string name, FormAnswer answer) {
  expected_[std::move(name)].push_back(std::move(answer));
}

void ScriptedUi::AllowForm(std::string name, FormAnswer answer) {
  allowed_[std::move(name)] = std::move(answer);
}

void ScriptedUi::ExpectBox(std::string text, std::int32_t answer) {
  expected_boxes_.emplace_back(std::move(text), answer);
}

void ScriptedUi::ClearShown() {
  shown_.clear();
  boxes_.clear();
}

void ScriptedUi::FailOnMissing() {
  for (const auto& [name, answers] : std::exchange(expected_, {})) {
    if (!answers.empty()) {
      ADD_FAILURE() << "form " << name << " was to be shown " << answers.size() << " times more";
    }
  }
  for (const auto& [text, answer] : std::exchange(expected_boxes_, {})) {
    ADD_FAILURE() << "a message box was to be shown: " << text;
  }
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

std::int32_t ScriptedUi::MessageBox(std::string_view text, std::string_view title,
                                    std::int32_t flags) {
  Announce("Ui::MessageBox");
  const bool can_cancel = (flags & platform::kBoxOkCancel) != 0;
  std::int32_t answer = can_cancel ? answer_to_the_rest_ : platform::kAnswerOk;
  const auto expected = std::find_if(expected_boxes_.begin(), expected_boxes_.end(),
                                     [&](const auto& box) { return box.first == text; });
  if (expected == expected_boxes_.end()) {
    if (!everything_allowed_) ADD_FAILURE() << "unexpected message box: " << text;
  } else {
    answer = expected->second;
    expected_boxes_.erase(expected);
  }
  shown_.push_back("box " + std::string(text));
  boxes_.push_back({std::string(text), std::string(title), flags, answer});
  return answer;
}

void ScriptedUi::ShowForm(Form& form) {
  Announce("Ui::ShowForm");
  // Nothing for a user to see or to answer.
  if (form.OffScreen) return;
  if (!on_screen_.insert(&form).second) {
    shown_.push_back(form.Name() + " forward");
    return;
  }
  shown_.push_back(form.Name());
  if (!Answer(form)) CloseUnanswered(form, "unexpected form");
}

void ScriptedUi::RunModal(Form& form, Form* /*owner*/) {
  Announce("Ui::RunModal");
  on_screen_.insert(&form);
  shown_.push_back(form.Name() + " modal");
  if (!Answer(form)) {
    CloseUnanswered(form, "unexpected form");
  } else if (form.IsVisible()) {
    CloseUnanswered(form, "left open by its answer");
  }
  // A form that refuses to close would hold up the test for ever.
  if (form.IsVisible()) form.Hide();
}

void ScriptedUi::FormGone(Form& form) {
  on_screen_.erase(&form);
}

void ScriptedUi::WindowStyleChanged(Form& /*form*/) {
  Announce("Ui::WindowStyleChanged");
}

int ScriptedUi::TextWidth(std::string_view text) {
  Announce("Ui::TextWidth");
  return static_cast<int>(Length(text)) * 6;
}

void ScriptedUi::DoEvents() {
  Announce("Ui::DoEvents");
  ++do_events_calls_;
  if (on_do_events) on_do_events(do_events_calls_);
}

platform::PicturePtr ScriptedUi::LoadPicture(std::string_view path) {
  Announce("Ui::LoadPicture");
  return desk::LoadPictureFile(files_, path);
}

}  // namespace corvessa::testing
