#include "windows/forms/keyboard_hook.h"

#include "windows/com/errors.h"
#include "windows/forms/form_window.h"

namespace corvessa::windows {
namespace {

LRESULT CALLBACK WatchMessage(int code, WPARAM removed, LPARAM data) {
  MSG& message = *reinterpret_cast<MSG*>(data);
  const bool is_key = message.message >= WM_KEYFIRST && message.message <= WM_KEYLAST;
  if (code == HC_ACTION && removed == PM_REMOVE && is_key) {
    FormWindow* const window = FormWindow::Of(GetAncestor(message.hwnd, GA_ROOT));
    if (window) window->TranslateKey(message);
  }
  return CallNextHookEx(nullptr, code, removed, data);
}

}  // namespace

KeyboardHook::KeyboardHook()
    : hook_(SetWindowsHookExW(WH_GETMESSAGE, WatchMessage, nullptr, GetCurrentThreadId())) {
  if (!hook_) com::Check(HRESULT_FROM_WIN32(GetLastError()));
}

KeyboardHook::~KeyboardHook() {
  UnhookWindowsHookEx(hook_);
}

}  // namespace corvessa::windows
