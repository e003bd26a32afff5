
#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "accounts/frm_login.h"
#include "base/text.h"
#include "desk/terminal/answers.h"
#include "desk/terminal/choices.h"
#include "desk/terminal/form_drawing.h"
#include "ui/controls.h"
#include "ui/form.h"
#include "ui/list_controls.h"

namespace corvessa::desk {
namespace {

constexpr std::string_view kLogin = "frmLogin";
constexpr std::string_view kPassphrase = "frmPassphrase";
/// Stands for an address where a message has a passphrase of its own.
constexpr const char* kMessage = "message";

/// Returns the name of the button pressed; empty if there is no passphrase for an offered address.
std::string GivePassphrase(Form& form, Answers& answers) {
  auto* users = form.Find<ComboBox>("cmbUsers");
  auto* password = form.Find<TextBox>("txtPassword");
  auto* ok = form.Find<CommandButton>("cmdOK");
  auto* prompt = form.Find<Label>("txtPrompt1");
  if (!users || !password || !ok || !prompt) return {};
  std::vector<std::string> offered;
  offered.reserve(static_cast<std::size_t>(users->RowCount()));
  for (int row = 0; row < users->RowCount(); ++row) offered.push_back(users->Row(row));
  if (const auto* login = dynamic_cast<const frmLogin*>(&form)) {
    std::ranges::stable_partition(
        offered, [&](const std::string& offer) { return offer == login->EncryptedTo(); });
  }
  const auto address = answers.ChooseAddress(offered, prompt->Caption());
  if (!address) return {};
  for (int row = 0; row < users->RowCount(); ++row) {
    if (users->Row(row) == *address) users->ClickRow(row);
  }
  password->Type(answers.UsePassphrase(*address, prompt->Caption()).View());
  ok->Press();
  return AnswerName(*ok);
}

/// The same for the passphrase of a message itself.
std::string GiveMessagePassphrase(Form& form, Answers& answers) {
  auto* password = form.Find<TextBox>("txtPassword");
  auto* ok = form.Find<CommandButton>("cmdOK");
  auto* prompt = form.Find<Label>("txtPrompt1");
  if (!password || !ok || !prompt) return {};
  const auto key = answers.ChooseAddress({kMessage}, prompt->Caption());
  if (!key) return {};
  password->Type(answers.UsePassphrase(*key, prompt->Caption()).View());
  ok->Press();
  return AnswerName(*ok);
}

Control* FindByAnswerName(const Form& form, std::string_view name) {
  for (Control* control : form.Controls()) {
    if (AnswerName(*control) == name) return control;
  }
  return nullptr;
}

bool ChooseRow(RowsControl& rows, std::string_view text) {
  for (int row = 0; row < rows.RowCount(); ++row) {
    if (rows.Row(row) != text) continue;
    Click(rows, row);
    return true;
  }
  return false;
}

bool ChooseTab(TabStrip& tabs, std::string_view text) {
  for (int tab = 1; tab <= static_cast<int>(tabs.Captions().size()); ++tab) {
    if (DrawnCaption(tabs.Captions()[static_cast<std::size_t>(tab - 1)]) != text) continue;
    tabs.ClickTab(tab);
    return true;
  }
  return false;
}

/// Chooses or types the text; false if the control does not accept it.
bool GiveText(Control& control, std::string_view text) {
  if (auto* box = dynamic_cast<TextBox*>(&control)) {
    if (box->IsPassword() || box->IsMultiLine()) return false;
    box->Type(text);
    box->LoseFocus();
    return true;
  }
  if (auto* check = dynamic_cast<CheckBox*>(&control)) {
    if (text != "on" && text != "off") return false;
    check->Toggle();
    return true;
  }
  if (auto* rows = dynamic_cast<RowsControl*>(&control)) return ChooseRow(*rows, text);
  if (auto* tabs = dynamic_cast<TabStrip*>(&control)) return ChooseTab(*tabs, text);
  return false;
}

bool IsPressed(const Control& control) {
  return Is<CommandButton, CheckBox, OptionButton>(control);
}

/// A check box that is already set as asked needs no click, so it may be disabled.
bool IsAlreadySet(const Control& control, std::string_view text) {
  const auto* check = dynamic_cast<const CheckBox*>(&control);
  return check && text == (check->Checked() ? "on" : "off");
}

/// Returns why the answer cannot be used; empty if it was.
std::string GiveAnswer(Form& form, std::string_view given) {
  const std::size_t colon = given.find(':');
  Control* control = FindByAnswerName(form, given.substr(0, colon));
  if (!control) return "no such control";
  if (colon != std::string_view::npos && IsAlreadySet(*control, given.substr(colon + 1))) return {};
  if (!control->IsShown() || !control->IsUsable()) return "the control is hidden or disabled";
  if (colon != std::string_view::npos) {
    return GiveText(*control, given.substr(colon + 1)) ? ""
                                                       : "the control does not accept that text";
  }
  if (!IsPressed(*control)) return "the control cannot be pressed";
  Click(*control, -1);
  return {};
}

}  // namespace

GivenResult GiveAnswers(Form& form, Answers& answers) {
  const FormPtr held = form.shared_from_this();
  GivenResult result;
  if (form.Name() == kLogin) result.answer = GivePassphrase(form, answers);
  if (form.Name() == kPassphrase) result.answer = GiveMessagePassphrase(form, answers);
  while (form.IsVisible() && answers.HasAnswers(form.Name())) {
    const std::string given = answers.NextAnswer(form.Name());
    const std::string control(ControlIn(given));
    const std::string problem = GiveAnswer(form, given);
    if (!problem.empty()) {
      result.problem = "--answer " + form.Name() + "=" + ForDisplay(control) + ": " + problem;
      break;
    }
    result.answer = control;
  }
  return result;
}

std::string QuestionOf(const Form& form) {
  const auto* prompt = form.Find<Label>("txtPrompt1");
  if (form.Name() == kLogin && prompt) return ForDisplayLines(prompt->Caption());
  return TextOf(form);
}

std::string ArgumentFor(const Form& form) {
  if (form.Name() == kLogin) return "--passphrase ADDRESS=FILE";
  std::string buttons;
  for (const Control* control : form.Controls()) {
    if (!Is<CommandButton>(*control) || !control->IsShown()) continue;
    buttons += (buttons.empty() ? "" : "|") + AnswerName(*control);
  }
  return buttons.empty() ? "" : "--answer " + form.Name() + "=" + buttons;
}

}  // namespace corvessa::desk
