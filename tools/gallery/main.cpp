#include <algorithm>
#include <atomic>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>
#include <windows.h>

#include "gallery/form_table.h"
#include "gallery/forms_host.h"
#include "gallery/high_contrast.h"
#include "gallery/toolbar_face.h"
#include "ui/controls.h"

// form_gallery [--high-contrast] [--inert] [PICTURE…]: shows the forms of these pictures, or all of
// them and the toolbar's button, one after the other, for a program that looks at them and works
// with them.
//
// For each it writes the picture's name, the window's place on the screen and its purpose, in one
// line with tabs between; then the model each time it has changed, followed by a line with a point.
// The next form follows when this one is closed or a line comes in. In inert forms all controls are
// enabled, and a button only writes "pressed NAME" before the model: no handler of the form runs.

namespace corvessa::gallery {
namespace {

/// Counts the lines that come in.
class Input {
 public:
  Input() {
    std::thread([this] {
      for (std::string line; std::getline(std::cin, line);) ++lines_;
      lines_ += 1000;
    }).detach();
  }
  bool TakeLine() {
    if (lines_ == taken_) return false;
    ++taken_;
    return true;
  }

 private:
  std::atomic<int> lines_{0};
  int taken_ = 0;
};

void LetEventsRun(platform::Ui& ui, DWORD milliseconds) {
  for (const ULONGLONG end = GetTickCount64() + milliseconds; GetTickCount64() < end;) {
    ui.DoEvents();
    Sleep(10);
  }
}

void Introduce(const std::string& picture, HWND window, const std::string& purpose) {
  RECT place = {};
  GetWindowRect(window, &place);
  std::cout << picture << '\t' << place.right - place.left << 'x' << place.bottom - place.top << '+'
            << place.left << '+' << place.top << '\t' << purpose << std::endl;
}

HWND ShownForm() {
  HWND window = nullptr;
  do {
    window = FindWindowExW(nullptr, window, L"CorvessaForm", nullptr);
  } while (window && !IsWindowVisible(window));
  return window;
}

/// Adds what is pressed to `pressed`.
void MakeInert(Form& form, std::string& pressed) {
  for (Control* const control : form.Controls()) {
    const std::string index =
        control->Index() < 0 ? "" : "(" + std::to_string(control->Index()) + ")";
    const auto note = [&pressed, line = "pressed " + control->Name() + index + "\n"] {
      pressed += line;
    };
    if (auto* const button = dynamic_cast<CommandButton*>(control)) button->OnClick = note;
    if (auto* const box = dynamic_cast<CheckBox*>(control)) box->OnClick = note;
    if (auto* const option = dynamic_cast<OptionButton*>(control)) option->OnClick = note;
    control->SetEnabled(true);
  }
}

void Present(const FormCase& one, bool is_inert, platform::Ui& ui, Input& input) {
  const FormPtr form = one.make();
  form->Show();
  std::string pressed;
  if (is_inert) MakeInert(*form, pressed);
  LetEventsRun(ui, 200);
  Introduce(one.picture, ShownForm(), one.purpose);
  std::string shown;
  while (form->IsVisible() && !input.TakeLine()) {
    if (std::exchange(shown, form->Dump()) != form->Dump() || !pressed.empty()) {
      std::cout << std::exchange(pressed, "") << form->Dump() << "." << std::endl;
    }
    LetEventsRun(ui, 20);
  }
  DropLoadedForms();
  LetEventsRun(ui, 20);
}

void PresentToolbarFace(platform::Ui& ui, Input& input) {
  const HWND face = ShowToolbarFace();
  LetEventsRun(ui, 200);
  Introduce(
      "toolbar-button", face,
      "The button on Outlook's toolbar that opens the settings, at rest and under the mouse.");
  while (!input.TakeLine()) LetEventsRun(ui, 20);
}

void PresentAll(std::vector<std::string> pictures) {
  const bool is_inert = std::erase(pictures, "--inert") > 0;
  std::optional<HighContrast> contrast;
  if (std::erase(pictures, "--high-contrast") > 0) contrast.emplace();
  const auto is_wanted = [&](const std::string& picture) {
    return pictures.empty() || std::ranges::find(pictures, picture) != pictures.end();
  };
  SetBrand("Corvessa", "Corvessa Professional for Outlook");
  FormsHost host;
  Input input;
  // What the mouse rests on looks different.
  SetCursorPos(GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN));
  for (const FormCase& one : FormTable()) {
    if (is_wanted(one.picture)) Present(one, is_inert, host.ui, input);
  }
  if (is_wanted("toolbar-button")) PresentToolbarFace(host.ui, input);
}

}  // namespace
}  // namespace corvessa::gallery

int main(int count, char** arguments) {
  corvessa::gallery::PresentAll({arguments + 1, arguments + count});
  // The thread that waits for input ends with the process.
  ExitProcess(0);
}
