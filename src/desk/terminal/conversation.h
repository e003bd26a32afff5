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
struct Choice;
class Terminal;

/// The user answers a form line by line: the form is drawn, a line chooses what to do with it, and
/// so on until the form is gone. If the form has put the focus into a text box, the conversation
/// first asks for its text and those of the boxes after it, each once; a line typed into the last
/// one presses the default button, as Enter does. After the next choice it asks again only for
/// boxes that are still empty.
class Conversation {
 public:
  /// Whether the user may leave the form open, which a modal one does not allow.
  enum class Leaving { kForbidden, kAllowed };

  Conversation(Terminal& terminal, Form& form, Leaving leaving);

  /// Returns when the form is no longer visible or the user has left it. The end of the input
  /// closes the form with its close box, or hides a form that refuses.
  void Run();
  /// The button pressed last, kClosedAnswer for the close box, or empty.
  const std::string& Answer() const { return answer_; }

 private:
  void Turn();
  TextBox* NextText() const;
  /// The form as it is now.
  std::string Drawing() const;
  /// Returns after a choice, or when the form no longer looks like `drawing`.
  void AskForChoice(const std::string& drawing);
  bool ExecuteLine(std::string_view line, const Choices& choices);
  bool Choose(std::string_view line, const Choices& choices);
  /// False if nothing was typed.
  bool FillTextBox(TextBox& box, std::string_view text);
  void Perform(const Choice& choice);
  void TellEffect(const Choice& choice, const std::string& name);
  void Close();
  /// False if nothing was typed or the input has ended.
  bool TypeInto(TextBox& box, std::string_view prompt);
  void Press(Control& control);
  void PressCloseBox();
  std::string ChoicePrompt() const;
  void ShowHelp(const Choices& choices);

  Terminal& terminal_;
  FormPtr form_;
  bool may_leave_;
  bool has_left_ = false;
  bool input_has_ended_ = false;
  std::set<const TextBox*> asked_;
  std::string answer_;
};

/// The recorded answer of a close box.
inline constexpr std::string_view kClosedAnswer = "closed";

}  // namespace corvessa::desk
