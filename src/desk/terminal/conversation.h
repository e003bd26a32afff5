#pragma once

#include <set>
#include <string>
#include <string_view>

#include "ui/form.h"

namespace corvessa {
class TextBox;
}

namespace corvessa::desk {

class Choices;
class Terminal;

/// A person answers a form line by line: the form is drawn, a line chooses what to do with it, and
/// so on until the form is gone. Where the form has put the focus into a text box, its text and
/// those of the boxes behind it are asked for first, each once: a line typed into the last one
/// presses the default button as Enter does, and then come the choices. Only a box that is still
/// empty is asked for again after the next choice.
class Conversation {
 public:
  /// Whether the person may leave the form open, which a modal one does not allow.
  enum class Leaving { kForbidden, kAllowed };

  Conversation(Terminal& terminal, Form& form, Leaving leaving);

  /// Returns when the form is no longer visible or the person has left it. The end of the input
  /// closes the form as its close box does; one that refuses is hidden.
  void Run();
  /// The button pressed last; kClosedAnswer for the close box; empty when there was neither.
  const std::string& Answer() const { return answer_; }

 private:
  void Turn();
  TextBox* NextText() const;
  void AskForChoice(const Choices& choices);
  bool Obey(std::string_view line, const Choices& choices);
  bool Choose(std::string_view line, const Choices& choices);
  void FillTextBox(TextBox& box, std::string_view text);
  /// False when nothing was typed or the input has ended.
  bool TypeInto(TextBox& box, std::string_view prompt);
  void Press(Control& control);
  void PressCloseBox();
  std::string ChoicePrompt(const Choices& choices) const;

  Terminal& terminal_;
  FormPtr form_;
  bool may_leave_;
  bool has_left_ = false;
  bool input_has_ended_ = false;
  std::set<const TextBox*> asked_;
  std::string answer_;
};

/// How a close box is recorded.
inline constexpr std::string_view kClosedAnswer = "closed";

}  // namespace corvessa::desk
