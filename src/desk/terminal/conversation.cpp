#include "desk/terminal/conversation.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "base/secret_string.h"
#include "base/text.h"
#include "commands/columns.h"
#include "desk/terminal/choices.h"
#include "desk/terminal/form_drawing.h"
#include "desk/terminal/terminal.h"
#include "ui/controls.h"

namespace corvessa::desk {
namespace {

/// What the Escape key types.
constexpr std::string_view kEscape = "\x1B";

/// What asks for help, at every prompt.
constexpr std::string_view kHelp = "?";

/// Whether the line is this word, or its letter if no control has that letter as its key.
bool IsWord(std::string_view line, std::string_view word, std::string_view letter,
            const Choices& choices) {
  const std::string lower = LCase(line);
  return lower == word || (lower == letter && !choices.Find(letter));
}

/// Does not repeat what was typed if it may be a passphrase at the wrong prompt.
std::string UnknownChoice(const Form& form, std::string_view line) {
  const bool may_be_secret = std::ranges::any_of(form.Controls(), [](const Control* control) {
    const auto* box = dynamic_cast<const TextBox*>(control);
    return box != nullptr && box->IsPassword();
  });
  return "Unknown choice" + (may_be_secret ? "" : " \"" + ForDisplay(line) + "\"") + ".\n";
}

}  // namespace

Conversation::Conversation(Terminal& terminal, Form& form, Leaving leaving)
    : terminal_(terminal),
      form_(form.shared_from_this()),
      may_leave_(leaving == Leaving::kAllowed) {}

void Conversation::Run() {
  while (form_->IsVisible() && !has_left_) {
    Turn();
    if (!input_has_ended_ || !form_->IsVisible()) continue;
    PressCloseBox();
    form_->Hide();
  }
}

std::string Conversation::Drawing() const {
  const Choices choices(*form_);
  return DrawForm(*form_, &choices, terminal_.Columns());
}

void Conversation::Turn() {
  const std::string drawing = Drawing();
  terminal_.Write(drawing);
  std::erase_if(asked_, [](const TextBox* box) { return box->Text().empty(); });
  bool typed = false;
  while (TextBox* box = NextText()) {
    asked_.insert(box);
    typed = TypeInto(*box, PromptOf(*box) + " (Enter for other choices): ");
    if (input_has_ended_ || !form_->IsVisible()) return;
  }
  if (!typed) {
    AskForChoice(drawing);
  } else if (CommandButton* button = DefaultButton(*form_)) {
    Press(*button);
  }
}

TextBox* Conversation::NextText() const {
  for (TextBox* box : TextBoxesFromFocus(*form_)) {
    if (!asked_.contains(box)) return box;
  }
  return nullptr;
}

bool Conversation::TypeInto(TextBox& box, std::string_view prompt) {
  if (box.IsPassword()) {
    SecretString secret;
    const Terminal::SecretResult result = terminal_.ReadSecret(prompt, secret);
    input_has_ended_ = result == Terminal::SecretResult::kAborted;
    if (result == Terminal::SecretResult::kTooLong) terminal_.Write("Too long.\n");
    if (secret.View() == kHelp) {
      terminal_.Write(
          "Type the passphrase; it is not shown. Enter alone leads to the other choices.\n");
      return TypeInto(box, prompt);
    }
    if (secret.IsEmpty() || secret.View() == kEscape) return false;
    box.Type(secret.View());
    box.LoseFocus();
    return true;
  }
  const std::optional<std::string> line = terminal_.ReadLine(prompt);
  input_has_ended_ = !line;
  if (line == kHelp) {
    terminal_.Write("Type a text for \"" + PromptOf(box) +
                    "\". Enter alone leads to the other choices.\n");
    return TypeInto(box, prompt);
  }
  if (!line || line->empty() || *line == kEscape) return false;
  box.Type(*line);
  box.LoseFocus();
  return true;
}

std::string Conversation::ChoicePrompt() const {
  std::string prompt = "Choice (";
  if (const CommandButton* button = DefaultButton(*form_)) {
    prompt += "Enter = " + DrawnCaption(button->Caption()) + ", ";
  }
  if (const CommandButton* button = CancelButton(*form_)) {
    prompt += "esc = " + DrawnCaption(button->Caption()) + ", ";
  }
  if (may_leave_) prompt += "leave, ";
  return prompt + "close, ? = help): ";
}

void Conversation::ShowHelp(const Choices& choices) {
  constexpr int kKeyColumns = 7;
  constexpr std::size_t kMostChoices = 40;
  std::string help;
  const auto add = [&](const std::string& key, const std::string& text) {
    help += CutToColumns("  " + PadToColumns(key, kKeyColumns) + text, terminal_.Columns()) + "\n";
  };
  const std::vector<Choice>& all = choices.All();
  for (std::size_t i = 0; i < std::min(all.size(), kMostChoices); ++i) {
    add(all[i].key, DescribeChoice(all[i]));
  }
  if (all.size() > kMostChoices) add("…", "and more");
  if (const auto* button = DefaultButton(*form_)) {
    add("Enter", "press " + DrawnCaption(button->Caption()));
  }
  if (const auto* button = CancelButton(*form_)) {
    add("esc", "press " + DrawnCaption(button->Caption()));
  }
  if (may_leave_) add("leave", "leave this window open and go back");
  add("close", "close this window without pressing a button");
  terminal_.Write(help);
}

void Conversation::AskForChoice(const std::string& drawing) {
  const Choices choices(*form_);
  for (;;) {
    const std::optional<std::string> line = terminal_.ReadLine(ChoicePrompt());
    input_has_ended_ = !line;
    // A timer may have closed the form during the wait.
    if (!line || !form_->IsVisible()) return;
    if (Trim(*line) == kHelp) {
      ShowHelp(choices);
    } else {
      if (ExecuteLine(Trim(*line), choices)) return;
      terminal_.Write(UnknownChoice(*form_, *line));
    }
    // A timer may have changed the form since it was drawn: the user must see what there is now.
    if (Drawing() != drawing) return;
  }
}

bool Conversation::ExecuteLine(std::string_view line, const Choices& choices) {
  if (line.empty()) {
    CommandButton* button = DefaultButton(*form_);
    if (button) Perform({"", button});
    return button != nullptr;
  }
  if (line == kEscape || LCase(line) == "esc") {
    CommandButton* button = CancelButton(*form_);
    button ? Perform({"", button}) : Close();
    return true;
  }
  if (IsWord(line, "close", "q", choices)) {
    Close();
    return true;
  }
  if (may_leave_ && LCase(line) == "leave") {
    has_left_ = true;
    return true;
  }
  return Choose(line, choices);
}

bool Conversation::Choose(std::string_view line, const Choices& choices) {
  const std::size_t blank = line.find(' ');
  const Choice* choice = choices.Find(line.substr(0, blank));
  if (!choice) return false;
  if (auto* box = dynamic_cast<TextBox*>(choice->control)) {
    if (FillTextBox(*box, blank == std::string_view::npos ? "" : Trim(line.substr(blank)))) {
      TellEffect(*choice, NameOf(*choice));
    }
    return true;
  }
  if (blank != std::string_view::npos) return false;
  Perform(*choice);
  return true;
}

void Conversation::Perform(const Choice& choice) {
  // Pressing it may change the caption.
  const std::string name = NameOf(choice);
  if (Is<CommandButton>(*choice.control)) {
    Press(*choice.control);
  } else {
    Click(*choice.control, choice.place);
  }
  TellEffect(choice, name);
}

void Conversation::TellEffect(const Choice& choice, const std::string& name) {
  terminal_.Write(DescribeEffect(choice, name) +
                  (form_->IsVisible() ? "\n" : " The window is closed.\n"));
}

void Conversation::Close() {
  PressCloseBox();
  terminal_.Write(form_->IsVisible() ? "The window cannot be closed now.\n" : "Closed.\n");
}

bool Conversation::FillTextBox(TextBox& box, std::string_view text) {
  if (text.empty()) return TypeInto(box, PromptOf(box) + ": ");
  if (box.IsPassword()) {
    terminal_.Write("Do not type a passphrase where it is visible; choose only the box.\n");
    return false;
  }
  box.Type(text);
  box.LoseFocus();
  return true;
}

void Conversation::Press(Control& control) {
  answer_ = AnswerName(control);
  Click(control, -1);
}

void Conversation::PressCloseBox() {
  const std::string earlier = answer_;
  answer_ = kClosedAnswer;
  if (!form_->PressCloseBox()) answer_ = earlier;
}

}  // namespace corvessa::desk
