#include <gtest/gtest.h>
#include <iostream>
#include <ole2.h>
#include <optional>
#include <string>

#include "windows/forms/form_table.h"
#include "windows/forms/forms_host.h"
#include "windows/forms/toolbar_face.h"
#include "windows/support/form_windows.h"

// The tests; or, with an argument, a program that shows forms for one that looks at them: "gallery"
// shows one after the other, "watch PICTURE" one of them, whose model it writes after each change.

namespace corvessa::testing {
namespace {

void LetEventsRun(platform::Ui& ui, DWORD milliseconds) {
  for (const ULONGLONG end = GetTickCount64() + milliseconds; GetTickCount64() < end;) {
    ui.DoEvents();
    Sleep(10);
  }
}

/// Writes a line for a window that is seen, and waits for one.
void Present(const std::string& picture, HWND window, const std::string& purpose) {
  RECT place = {};
  GetWindowRect(window, &place);
  std::cout << picture << '\t' << place.right - place.left << 'x' << place.bottom - place.top << '+'
            << place.left << '+' << place.top << '\t' << purpose << std::endl;
  std::string line;
  std::getline(std::cin, line);
}

void ShowAll() {
  SetBrand("Corvessa", "Corvessa Professional for Outlook");
  FormsHost host;
  for (const FormCase& one : FormTable()) {
    const FormPtr form = one.make();
    form->Show();
    LetEventsRun(host.ui, 200);
    Present(one.picture, FindForm(GetCurrentThreadId(), form->Name()), one.purpose);
    DropLoadedForms();
    LetEventsRun(host.ui, 20);
  }
  const HWND face = ShowToolbarFace();
  LetEventsRun(host.ui, 200);
  Present("toolbar-button", face,
          "The button on Outlook's toolbar that opens the settings, at rest and under the mouse.");
}

void Watch(const std::string& picture) {
  SetBrand("Corvessa", "Corvessa Professional for Outlook");
  FormsHost host;
  for (const FormCase& one : FormTable()) {
    if (one.picture != picture) continue;
    const FormPtr form = one.make();
    form->Show();
    std::string shown;
    while (form->IsVisible()) {
      LetEventsRun(host.ui, 20);
      if (std::exchange(shown, form->Dump()) != form->Dump()) {
        std::cout << form->Dump() << "." << std::endl;
      }
    }
  }
  std::cout << "closed\n." << std::endl;
  DropLoadedForms();
}

}  // namespace
}  // namespace corvessa::testing

int main(int count, char** arguments) {
  ::testing::InitGoogleTest(&count, arguments);
  if (FAILED(OleInitialize(nullptr))) return 1;
  const std::string mode = count > 1 ? arguments[1] : "";
  int result = 0;
  if (mode == "gallery") {
    corvessa::testing::ShowAll();
  } else if (mode == "watch" && count > 2) {
    corvessa::testing::Watch(arguments[2]);
  } else {
    result = RUN_ALL_TESTS();
  }
  OleUninitialize();
  return result;
}
