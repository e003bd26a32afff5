#pragma once

#include <string>
#include <string_view>
#include <windows.h>

#include "base/secret_string.h"

/// The texts of windows, which may hold a passphrase: every copy is wiped.
namespace corvessa::windows {

SecretString TextOf(HWND window);
void SetText(HWND window, std::string_view text);

/// A text from outside as one line of a window shows it.
std::wstring ShownLine(std::string_view text);
/// The same with its line breaks, as an edit control has them.
std::wstring ShownLines(std::string_view text);

/// Overwrites what a text box holds and what it keeps for undoing, then empties it. `longest` is
/// the length of the longest text that it has held.
void WipeTextBox(HWND window, std::size_t longest);

}  // namespace corvessa::windows
