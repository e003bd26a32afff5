#include "windows/forms/plain_ui.h"

#include <algorithm>
#include <utility>

#include "base/guard.h"
#include "ui/controls.h"
#include "ui/form.h"
#include "win32/utf16.h"
#include "windows/com/entry.h"
#include "windows/com/errors.h"

namespace corvessa::windows {
namespace {

/// The user works with one window only: all others of this thread are disabled while it lives.
class OtherWindowsDisabled {
 public:
  explicit OtherWindowsDisabled(HWND but) : but_(but) {
    EnumThreadWindows(GetCurrentThreadId(), Disable, reinterpret_cast<LPARAM>(this));
  }
  ~OtherWindowsDisabled() {
    for (const HWND window : disabled_) EnableWindow(window, TRUE);
  }
  OtherWindowsDisabled(const OtherWindowsDisabled&) = delete;
  OtherWindowsDisabled& operator=(const OtherWindowsDisabled&) = delete;

 private:
  static BOOL CALLBACK Disable(HWND window, LPARAM self_pointer) {
    auto& self = *reinterpret_cast<OtherWindowsDisabled*>(self_pointer);
    if (window == self.but_ || !IsWindowVisible(window) || !IsWindowEnabled(window)) return TRUE;
    EnableWindow(window, FALSE);
    self.disabled_.push_back(window);
    return TRUE;
  }

  HWND but_;
  std::vector<HWND> disabled_;
};

/// The window in front, if it is one of this thread, which alone can be owned from here.
HWND OwnForegroundWindow() {
  const HWND foreground = GetForegroundWindow();
  const DWORD thread = foreground ? GetWindowThreadProcessId(foreground, nullptr) : 0;
  return thread == GetCurrentThreadId() ? foreground : GetActiveWindow();
}

}  // namespace

PlainUi::PlainUi()
    : form_class_(L"CorvessaForm", FormWindow::Procedure),
      timer_class_(L"CorvessaTimers", TimerProcedure) {
  timer_window_ = CreateWindowExW(0, timer_class_.Name(), nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE,
                                  nullptr, nullptr, nullptr);
  if (!timer_window_) com::Check(HRESULT_FROM_WIN32(GetLastError()));
  SetWindowLongPtrW(timer_window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

PlainUi::~PlainUi() {
  for (const auto& [form, window] : windows_) window->Detach();
  windows_.clear();
  DestroyWindow(timer_window_);
}

LRESULT CALLBACK PlainUi::TimerProcedure(HWND window, UINT message, WPARAM word, LPARAM data) {
  auto* const ui = reinterpret_cast<PlainUi*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (message != WM_TIMER || !ui) return DefWindowProcW(window, message, word, data);
  const com::Entry entry;
  ui->Tick(word);
  return 0;
}

void PlainUi::Tick(UINT_PTR number) {
  const auto found = timers_.find(number);
  if (found != timers_.end()) found->second->Tick();
}

FormWindow* PlainUi::FindWindowOf(Form& form) {
  const auto found = windows_.find(&form);
  return found == windows_.end() ? nullptr : found->second.get();
}

FormWindow& PlainUi::WindowOf(Form& form) {
  const auto found = windows_.find(&form);
  if (found != windows_.end()) return *found->second;
  return *windows_.emplace(&form, std::make_shared<FormWindow>(form, form_class_)).first->second;
}

std::int32_t PlainUi::ShowBox(std::string_view text, std::string_view title, std::int32_t flags) {
  const HWND owner = OwnForegroundWindow();
  const UINT style = static_cast<UINT>(flags) | MB_SETFOREGROUND | (owner ? 0 : MB_TASKMODAL);
  const int answer =
      MessageBoxW(owner, win32::ShownUtf16(text).c_str(), win32::ShownUtf16(title).c_str(), style);
  const bool can_cancel = (flags & platform::kBoxOkCancel) != 0;
  return answer == IDOK || !can_cancel ? platform::kAnswerOk : platform::kAnswerCancel;
}

void PlainUi::ShowForm(Form& form) {
  WindowOf(form).Show(false);
}

void PlainUi::RunModal(Form& form, Form* /*owner*/) {
  const FormPtr held = form.shared_from_this();
  FormWindow& window = WindowOf(form);
  const HWND before = GetActiveWindow();
  {
    const OtherWindowsDisabled disabled(window.Handle());
    window.Show(true);
    MSG message;
    while (form.IsVisible()) {
      const BOOL got = GetMessageW(&message, nullptr, 0, 0);
      if (got == -1) break;
      if (got == 0) {
        // The program ends: for whoever waits further out, too.
        PostQuitMessage(static_cast<int>(message.wParam));
        form.Hide();
        break;
      }
      Dispatch(message);
    }
  }
  if (before && IsWindow(before)) SetActiveWindow(before);
}

void PlainUi::Dispatch(MSG& message) {
  const HWND top = message.hwnd ? GetAncestor(message.hwnd, GA_ROOT) : nullptr;
  const bool is_form = std::ranges::any_of(
      windows_, [&](const auto& entry) { return entry.second->Handle() == top; });
  if (top && is_form && IsDialogMessageW(top, &message)) return;
  TranslateMessage(&message);
  DispatchMessageW(&message);
}

void PlainUi::DoEvents() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) return PostQuitMessage(static_cast<int>(message.wParam));
    Dispatch(message);
  }
}

int PlainUi::TextWidth(std::string_view text) {
  const std::wstring wide = win32::ShownUtf16(text);
  const HDC screen = GetDC(nullptr);
  const HGDIOBJ before = SelectObject(screen, DialogFont());
  SIZE size = {};
  GetTextExtentPoint32W(screen, wide.data(), static_cast<int>(wide.size()), &size);
  const int dpi = GetDeviceCaps(screen, LOGPIXELSX);
  SelectObject(screen, before);
  ReleaseDC(nullptr, screen);
  return MulDiv(size.cx, USER_DEFAULT_SCREEN_DPI, dpi > 0 ? dpi : USER_DEFAULT_SCREEN_DPI);
}

void PlainUi::FormLoaded(Form& /*form*/) noexcept {
  // Its window is made when it is shown for the first time.
}

void PlainUi::FormHidden(Form& form) noexcept {
  Ignoring([&] {
    if (FormWindow* const window = FindWindowOf(form)) window->Hide();
  });
  // A modal loop looks again.
  PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
}

void PlainUi::FormUnloaded(Form& form) noexcept {
  const auto found = windows_.find(&form);
  if (found == windows_.end()) return;
  const auto window = std::move(found->second);
  windows_.erase(found);
  window->Detach();
}

void PlainUi::FormChanged(Form& form, platform::FormChange change) noexcept {
  Ignoring([&] {
    if (FormWindow* const window = FindWindowOf(form)) window->Update(change);
  });
}

void PlainUi::ControlChanged(Form& form, Control& control,
                             platform::ControlChange change) noexcept {
  Ignoring([&] {
    if (FormWindow* const window = FindWindowOf(form)) window->Update(control, change);
  });
}

void PlainUi::TimerStarted(Timer& timer) noexcept {
  Ignoring([&] {
    timers_[++last_timer_] = &timer;
    SetTimer(timer_window_, last_timer_, static_cast<UINT>(timer.Interval()), nullptr);
  });
}

void PlainUi::TimerStopped(Timer& timer) noexcept {
  const auto found =
      std::ranges::find_if(timers_, [&](const auto& entry) { return entry.second == &timer; });
  if (found == timers_.end()) return;
  KillTimer(timer_window_, found->first);
  timers_.erase(found);
}

}  // namespace corvessa::windows
