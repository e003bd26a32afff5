#include "desk/terminal/terminal_ui.h"

#include <algorithm>
#include <optional>
#include <ostream>
#include <thread>
#include <utility>

#include "base/text.h"
#include "commands/columns.h"
#include "desk/terminal/answers.h"
#include "desk/terminal/form_drawing.h"
#include "desk/terminal/terminal.h"
#include "ui/controls.h"

namespace corvessa::desk {
namespace {

constexpr int kPixelsPerColumn = 6;
constexpr std::chrono::milliseconds kLongPause = std::chrono::hours(1);

constexpr std::string_view kMessageBox = "MessageBox";
constexpr std::string_view kOk = "OK";
constexpr std::string_view kCancel = "Cancel";

/// Whether the form only shows progress and waits for no answer.
bool IsStatusOnly(const Form& form) {
  if (form.Name() == "frmSplashScreen") return true;
  return std::ranges::any_of(form.Controls(),
                             [](const Control* control) { return Is<ProgressBar>(*control); });
}

bool CanBeCancelled(std::int32_t flags) {
  return (flags & platform::kBoxOkCancel) != 0;
}

/// For a line to the user.
std::string InOneLine(std::string_view text) {
  return Replace(ForDisplayLines(text), "\n", " ");
}

/// A question for a line to the user: after a blank, in quotation marks; empty for an empty text. A
/// long text loses its middle, because the question is at its end.
std::string Quoted(std::string_view text) {
  constexpr std::size_t kMost = 400;
  constexpr std::size_t kEnd = 100;
  std::string line = InOneLine(text);
  if (line.empty()) return line;
  const std::size_t length = Length(line);
  if (length > kMost) {
    const std::string_view before_end = Left(line, length - kEnd);
    line = std::string(Left(line, kMost - kEnd)) + " … " + line.substr(before_end.size());
  }
  return " \"" + line + "\"";
}

/// Whether the form has no question: closing it accepts its check boxes as they are.
bool HasOnlyOptions(const Form& form) {
  return QuestionOf(form).empty() &&
         std::ranges::any_of(form.Controls(), [](const Control* control) {
           return dynamic_cast<const CheckBox*>(control) != nullptr;
         });
}

}  // namespace

TerminalUi::TerminalUi(Terminal& terminal, Answers& answers, TerminalUiOptions options)
    : terminal_(terminal), answers_(answers), options_(std::move(options)) {
  terminal_.idle = [this] {
    DoEvents();
    return UntilNextTick();
  };
}

TerminalUi::~TerminalUi() {
  terminal_.idle = nullptr;
}

void TerminalUi::Report(std::string_view line) {
  terminal_.ClearStatus();
  options_.messages << kProgram << ": " << line << "\n" << std::flush;
}

std::int32_t TerminalUi::ShowBox(std::string_view text, std::string_view title,
                                 std::int32_t flags) {
  const std::size_t place = boxes_.size();
  boxes_.push_back(
      {std::string(kMessageBox), ForDisplay(title), ForDisplayLines(text), std::string()});
  const std::string answer = AskBox(text, title, flags);
  boxes_[place].answer = answer;
  return answer == kOk ? platform::kAnswerOk : platform::kAnswerCancel;
}

std::string TerminalUi::AskBox(std::string_view text, std::string_view title, std::int32_t flags) {
  const bool can_cancel = CanBeCancelled(flags);
  if (can_cancel) {
    const std::string given = GivenBoxAnswer();
    if (!given.empty()) return given;
  }
  if (!terminal_.IsThere()) {
    if (!can_cancel) {
      Report(InOneLine(text));
      return std::string(kOk);
    }
    Report("closed MessageBox" + Quoted(text) + " unanswered; use --answer MessageBox=OK|Cancel");
    return std::string(kCancel);
  }
  const bool is_error = (flags & platform::kBoxError) != 0;
  terminal_.Write(DrawMessage(text, title, is_error ? "(!)" : "(i)", terminal_.Columns()));
  return std::string(HasAgreed(can_cancel) ? kOk : kCancel);
}

bool TerminalUi::HasAgreed(bool can_cancel) {
  if (!can_cancel) {
    terminal_.ReadLine("Enter = OK: ");
    return true;
  }
  for (;;) {
    const std::optional<std::string> line = terminal_.ReadLine("Enter = OK, c = Cancel: ");
    if (!line) return false;
    const std::string word = LCase(Trim(*line));
    if (word.empty() || word == "o" || word == "ok") return true;
    if (word == "?") terminal_.Write("Enter, o or ok agrees; c, cancel or esc does not.\n");
    if (word == "c" || word == "cancel" || word == "esc" || word == "\x1B" || word == "q") {
      return false;
    }
  }
}

std::string TerminalUi::GivenBoxAnswer() {
  if (!answers_.HasAnswers(kMessageBox)) return {};
  const std::string given = answers_.NextAnswer(kMessageBox);
  for (const std::string_view button : {kOk, kCancel}) {
    if (LCase(given) == LCase(button)) return std::string(button);
  }
  Report("--answer MessageBox=" + ForDisplay(given) + ": a message box takes OK|Cancel");
  return {};
}

std::size_t TerminalUi::Record(Form& form) {
  const auto [entry, is_new] = on_screen_.try_emplace(&form, boxes_.size());
  if (is_new) boxes_.push_back({form.Name(), ForDisplay(form.Caption()), TextOf(form), ""});
  return entry->second;
}

void TerminalUi::ShowForm(Form& form) {
  if (form.IsOffScreen()) return;
  Record(form);
  RefreshStatus();
}

void TerminalUi::RunModal(Form& form, Form* /*owner*/) {
  Answer(form, Conversation::Leaving::kForbidden);
}

void TerminalUi::RunForm(Form& form) {
  if (form.IsVisible() && !form.IsOffScreen()) Answer(form, Conversation::Leaving::kAllowed);
}

void TerminalUi::Answer(Form& form, Conversation::Leaving leaving) {
  const FormPtr held = form.shared_from_this();
  const std::size_t place = Record(form);
  std::string answer = GiveFormAnswers(form);
  if (form.IsVisible() && terminal_.IsThere()) {
    Conversation conversation(terminal_, form, leaving);
    conversation.Run();
    answer = conversation.Answer();
  } else if (form.IsVisible()) {
    CloseUnanswered(form);
    answer = kClosedAnswer;
  }
  boxes_[place].answer = answer;
}

std::string TerminalUi::GiveFormAnswers(Form& form) {
  const GivenResult given = GiveAnswers(form, answers_);
  if (!given.problem.empty()) Report(given.problem);
  return given.answer;
}

void TerminalUi::CloseUnanswered(Form& form) {
  const std::string argument = ArgumentFor(form);
  Report("closed " + form.Name() + Quoted(QuestionOf(form)) + " unanswered" +
         (HasOnlyOptions(form) ? ", with its current options" : "") +
         (argument.empty() ? "" : "; use " + argument));
  form.PressCloseBox();
  // A form that refuses would block the program forever.
  form.Hide();
}

void TerminalUi::FormHidden(Form& form) noexcept {
  on_screen_.erase(&form);
  RefreshStatus();
}

int TerminalUi::TextWidth(std::string_view text) {
  return kPixelsPerColumn * ColumnsOf(text);
}

void TerminalUi::DoEvents() {
  timers_.Run(options_.now());
  RefreshStatus();
}

void TerminalUi::RefreshStatus() {
  if (!terminal_.IsThere()) return;
  const Form* newest = nullptr;
  const std::vector<FormPtr> forms = LoadedForms();
  for (const FormPtr& form : forms) {
    if (form->IsVisible() && IsStatusOnly(*form)) newest = form.get();
  }
  if (!newest) {
    terminal_.ClearStatus();
  } else {
    terminal_.ShowStatus(StatusLine(*newest, terminal_.Columns()));
  }
}

std::chrono::milliseconds TerminalUi::UntilNextTick() const {
  const auto due = timers_.NextDue();
  if (!due) return kLongPause;
  const auto pause = std::chrono::ceil<std::chrono::milliseconds>(*due - options_.now());
  return std::max(pause, std::chrono::milliseconds(0));
}

void TerminalUi::Wait(std::chrono::milliseconds time) {
  const TimerDriver::Time end = options_.now() + time;
  for (;;) {
    DoEvents();
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - options_.now());
    if (left.count() <= 0 || terminal_.IsInterrupted()) return;
    std::this_thread::sleep_for(std::min(left, UntilNextTick()));
  }
}

}  // namespace corvessa::desk
