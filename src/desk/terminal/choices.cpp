#include "desk/terminal/choices.h"

#include <algorithm>

#include "base/text.h"
#include "ui/controls.h"
#include "ui/list_controls.h"

namespace corvessa::desk {
namespace {

/// None for digits and blanks: digits are numbers of choices, and a blank looks like an empty line.
std::string AccessKey(std::string_view caption) {
  const std::string key = AccessKeyIn(caption);
  return key == " " || (key >= "0" && key <= "9") ? "" : key;
}

/// Whether the list offers a choice: not if its rows cannot be selected or the only one already is.
bool HasChoice(const RowsControl& rows) {
  const auto* list = dynamic_cast<const ListBox*>(&rows);
  const bool has_check_boxes = list && list->HasCheckBoxes();
  const bool is_settled = rows.RowCount() == 1 && rows.Selected() == 0 && !has_check_boxes;
  return rows.IsSelectable() && !is_settled;
}

bool CanBeChosen(const Control& control) {
  if (!control.TakesFocus() || !control.IsShown() || !control.IsUsable()) return false;
  if (const auto* rows = dynamic_cast<const RowsControl*>(&control)) return HasChoice(*rows);
  const auto* box = dynamic_cast<const TextBox*>(&control);
  return !box || !box->IsMultiLine();
}

template <typename Predicate>
CommandButton* FindButton(const Form& form, Predicate matches) {
  for (Control* control : form.Controls()) {
    auto* button = dynamic_cast<CommandButton*>(control);
    if (button && matches(*button) && CanBeChosen(*button)) return button;
  }
  return nullptr;
}

}  // namespace

Choices::Choices(const Form& form) {
  std::vector<Control*> without_key;
  for (Control* control : form.Controls()) {
    if (!CanBeChosen(*control)) continue;
    const auto* captioned = dynamic_cast<const CaptionedControl*>(control);
    const std::string key = captioned ? AccessKey(ForDisplay(captioned->Caption())) : "";
    if (key.empty() || by_key_.contains(key)) {
      without_key.push_back(control);
    } else {
      Add(*control, -1, key);
    }
  }
  for (Control* control : without_key) AddNumbered(*control);
}

void Choices::AddNumbered(Control& control) {
  int first = -1;
  int count = 0;
  if (const auto* rows = dynamic_cast<const RowsControl*>(&control)) {
    first = 0;
    count = rows->RowCount();
  } else if (const auto* tabs = dynamic_cast<const TabStrip*>(&control)) {
    first = 1;
    count = static_cast<int>(tabs->Captions().size());
  } else {
    count = 1;
  }
  for (int place = first; place < first + count; ++place) {
    Add(control, place, Decimal(++last_number_));
  }
}

void Choices::Add(Control& control, int place, std::string key) {
  by_key_[key] = choices_.size();
  by_control_[{&control, place}] = choices_.size();
  choices_.push_back({std::move(key), &control, place});
}

const Choice* Choices::Find(std::string_view key) const {
  const auto found = by_key_.find(LCase(key));
  return found == by_key_.end() ? nullptr : &choices_[found->second];
}

std::string Choices::KeyOf(const Control& control, int place) const {
  const auto found = by_control_.find({&control, place});
  return found == by_control_.end() ? "" : choices_[found->second].key;
}

std::string DrawnCaption(std::string_view caption, bool has_mnemonic) {
  const std::string shown = ForDisplayLines(caption);
  return has_mnemonic ? WithoutAccessKey(shown) : shown;
}

CommandButton* DefaultButton(const Form& form) {
  return FindButton(form, [](const CommandButton& button) { return button.IsDefault(); });
}

CommandButton* CancelButton(const Form& form) {
  return FindButton(form, [](const CommandButton& button) { return button.IsCancel(); });
}

std::vector<TextBox*> TextBoxesFromFocus(const Form& form) {
  if (!dynamic_cast<TextBox*>(form.Focus())) return {};
  const std::vector<Control*>& controls = form.Controls();
  std::vector<TextBox*> boxes;
  for (auto at = std::ranges::find(controls, form.Focus()); at != controls.end(); ++at) {
    auto* box = dynamic_cast<TextBox*>(*at);
    if (box && CanBeChosen(*box)) boxes.push_back(box);
  }
  return boxes;
}

std::string PromptOf(const TextBox& box) {
  std::string prompt;
  for (const Control* control : box.Parent().Controls()) {
    if (control == &box) break;
    const auto* captioned = dynamic_cast<const CaptionedControl*>(control);
    const bool names_it =
        captioned && captioned->IsShown() && captioned->TypeName() != "CommandButton";
    if (!names_it || captioned->Caption().empty()) continue;
    const auto* label = dynamic_cast<const Label*>(captioned);
    prompt = DrawnCaption(captioned->Caption(), !label || label->UsesMnemonic());
  }
  if (prompt.ends_with(':')) prompt.pop_back();
  return prompt.empty() ? "Text" : prompt;
}

std::string AnswerName(const Control& control) {
  if (control.Index() < 0) return control.Name();
  return control.Name() + "(" + Decimal(control.Index()) + ")";
}

std::string NameOf(const Choice& choice) {
  const auto place = static_cast<std::size_t>(std::max(choice.place, 0));
  if (const auto* rows = dynamic_cast<const RowsControl*>(choice.control)) {
    return choice.place < rows->RowCount() ? ForDisplay(rows->Row(choice.place)) : "";
  }
  if (const auto* tabs = dynamic_cast<const TabStrip*>(choice.control)) {
    return place <= tabs->Captions().size() ? DrawnCaption(tabs->Captions()[place - 1]) : "";
  }
  if (const auto* box = dynamic_cast<const TextBox*>(choice.control)) return PromptOf(*box);
  const auto* captioned = dynamic_cast<const CaptionedControl*>(choice.control);
  return captioned ? Replace(DrawnCaption(captioned->Caption()), "\n", " ") : "";
}

std::string DescribeChoice(const Choice& choice) {
  const Control& control = *choice.control;
  const std::string name = NameOf(choice);
  if (dynamic_cast<const CommandButton*>(&control)) return "press " + name;
  if (const auto* check = dynamic_cast<const CheckBox*>(&control)) {
    return (check->Checked() ? "switch off: " : "switch on: ") + name;
  }
  if (dynamic_cast<const TextBox*>(&control)) return "type: " + name;
  if (dynamic_cast<const TabStrip*>(&control)) return "show: " + name;
  return "choose: " + name;
}

std::string DescribeEffect(const Choice& choice, const std::string& name) {
  const Control& control = *choice.control;
  if (dynamic_cast<const CommandButton*>(&control)) return name + " was pressed.";
  if (const auto* check = dynamic_cast<const CheckBox*>(&control)) {
    return name + (check->Checked() ? ": on." : ": off.");
  }
  const auto* list = dynamic_cast<const ListBox*>(&control);
  if (list && list->HasCheckBoxes() && choice.place < list->RowCount()) {
    return name + (list->RowChecked(choice.place) ? ": on." : ": off.");
  }
  if (const auto* box = dynamic_cast<const TextBox*>(&control)) {
    return name + ": " + (box->IsPassword() ? "typed" : ForDisplay(box->Text())) + ".";
  }
  return "Chosen: " + name + ".";
}

void Click(Control& control, int place) {
  if (auto* button = dynamic_cast<CommandButton*>(&control)) {
    button->Press();
  } else if (auto* check = dynamic_cast<CheckBox*>(&control)) {
    check->Toggle();
  } else if (auto* option = dynamic_cast<OptionButton*>(&control)) {
    option->Press();
  } else if (auto* tabs = dynamic_cast<TabStrip*>(&control)) {
    tabs->ClickTab(place);
  } else if (auto* rows = dynamic_cast<RowsControl*>(&control)) {
    auto* list = dynamic_cast<ListBox*>(rows);
    list && list->HasCheckBoxes() ? list->ToggleRow(place) : rows->ClickRow(place);
  }
}

}  // namespace corvessa::desk
