#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ui/form.h"

namespace corvessa {
class CommandButton;
class TextBox;
}  // namespace corvessa

namespace corvessa::desk {

/// Something the user can do with a form.
struct Choice {
  std::string key;
  Control* control = nullptr;
  /// The row of a list, from 0; the tab of a tab strip, from 1; -1 for the control itself.
  int place = -1;
};

/// Everything that the user can do with a form in its current state, in tab order. A control's key
/// is its access key unless an earlier control has it; the others are numbered.
class Choices {
 public:
  explicit Choices(const Form& form);

  const std::vector<Choice>& All() const { return choices_; }
  /// Ignores case; null for an unknown key.
  const Choice* Find(std::string_view key) const;
  /// Empty if the control cannot be chosen.
  std::string KeyOf(const Control& control, int place = -1) const;

 private:
  void Add(Control& control, int place, std::string key);
  void AddNumbered(Control& control);

  std::vector<Choice> choices_;
  std::map<std::string, std::size_t> by_key_;
  std::map<std::pair<const Control*, int>, std::size_t> by_control_;
  int last_number_ = 0;
};

/// A caption as it is drawn: no access mark, safe for a terminal.
std::string DrawnCaption(std::string_view caption, bool has_mnemonic = true);

/// The button that Enter or Escape presses; null when the form has none that can be pressed.
CommandButton* DefaultButton(const Form& form);
CommandButton* CancelButton(const Form& form);

/// The text boxes that can be typed into, from the one with the focus on in tab order; none when
/// the focus is elsewhere.
std::vector<TextBox*> TextBoxesFromFocus(const Form& form);

/// What names a text box to the user: the caption of the label before it.
std::string PromptOf(const TextBox& box);

/// The name that --answer knows the control by: "cmdOK", "optRemember(1)".
std::string AnswerName(const Control& control);

/// What choosing it does, for the user: "press Ok", "type Email Address".
std::string DescribeChoice(const Choice& choice);

/// The control, row or tab as the user sees it.
std::string NameOf(const Choice& choice);

/// What choosing it has just done: "Sign outgoing mail by default: on." `name` is what it was
/// called before.
std::string DescribeEffect(const Choice& choice, const std::string& name);

/// Clicks the control or its row; does nothing with a text box. The focus stays where the form has
/// put it, because there it expects the next text.
void Click(Control& control, int place);

}  // namespace corvessa::desk
