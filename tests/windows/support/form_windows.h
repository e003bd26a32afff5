#pragma once

#include <string>
#include <windows.h>

/// The windows of forms, as a program beside the add-in finds and reads them.
namespace corvessa::testing {

/// A message that another thread answers; 0 when it hangs.
LRESULT Send(HWND window, UINT message, WPARAM word = 0, LPARAM data = 0);
std::string TextOf(HWND window);
std::wstring ClassOf(HWND window);
/// The name that a form's or control's window has in the model; empty for any other window.
std::string NameOf(HWND window);
HWND FindControl(HWND form, const std::string& name);
/// The visible window of that thread's form; null when there is none.
HWND FindForm(DWORD thread, const std::string& name);

}  // namespace corvessa::testing
