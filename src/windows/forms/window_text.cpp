#include "windows/forms/window_text.h"

#include <algorithm>
#include <vector>

#include "base/text.h"
#include "win32/utf16.h"

namespace corvessa::windows {
namespace {

void Wipe(std::wstring& text) {
  SecureZeroMemory(text.data(), text.size() * sizeof(wchar_t));
}

}  // namespace

SecretString TextOf(HWND window) {
  std::vector<wchar_t, SecretAllocator<wchar_t>> text(
      static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1);
  const int size = GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
  return win32::ShownUtf8Secret({text.data(), static_cast<std::size_t>(size)});
}

void SetText(HWND window, std::string_view text) {
  std::wstring wide = win32::ShownUtf16(text);
  // It would end the text.
  std::ranges::replace(wide, L'\0', L'\xFFFD');
  SetWindowTextW(window, wide.c_str());
  Wipe(wide);
}

std::wstring ShownLine(std::string_view text) {
  return win32::ShownUtf16(Replace(ForDisplayLines(text), "\n", " "));
}

std::wstring ShownLines(std::string_view text) {
  return win32::ShownUtf16(WithCrLf(ForDisplayLines(text)));
}

void WipeTextBox(HWND window, std::size_t longest) {
  const std::wstring filler(longest, L'*');
  const auto put = [&](const wchar_t* text, BOOL can_undo) {
    SendMessageW(window, EM_SETSEL, 0, -1);
    SendMessageW(window, EM_REPLACESEL, static_cast<WPARAM>(can_undo),
                 reinterpret_cast<LPARAM>(text));
  };
  // What is removed so that it can be undone replaces what was kept for undoing.
  put(filler.c_str(), FALSE);
  put(L"", TRUE);
  SendMessageW(window, EM_EMPTYUNDOBUFFER, 0, 0);
}

}  // namespace corvessa::windows
