#include "windows/forms/windows_ui.h"

#include <algorithm>
#include <utility>

#include "base/guard.h"
#include "base/text.h"
#include "ui/controls.h"
#include "ui/form.h"
#include "win32/utf16.h"
#include "windows/com/entry.h"
#include "windows/com/errors.h"
#include "windows/forms/common_controls.h"
#include "windows/forms/window_text.h"

namespace corvessa::windows {
namespace {

constexpr UINT kSweep = WM_APP;

void LoadControlClasses() {
  INITCOMMONCONTROLSEX classes = {};
  classes.dwSize = sizeof classes;
  classes.dwICC = ICC_LISTVIEW_CLASSES | ICC_TAB_CLASSES | ICC_PROGRESS_CLASS | ICC_BAR_CLASSES;
  InitCommonControlsEx(&classes);
}

/// The window in front, if it is one of this thread, which alone can be owned from here.
HWND OwnForegroundWindow() {
  const HWND foreground = GetForegroundWindow();
  const DWORD thread = foreground ? GetWindowThreadProcessId(foreground, nullptr) : 0;
  return thread == GetCurrentThreadId() ? foreground : GetActiveWindow();
}

/// Remembers where the focus is, and gives it back.
class FocusGivenBack {
 public:
  FocusGivenBack() = default;
  ~FocusGivenBack() {
    if (!active_ || !IsWindowVisible(active_) || !IsWindowEnabled(active_)) return;
    SetActiveWindow(active_);
    if (focus_ && IsWindow(focus_)) SetFocus(focus_);
  }
  FocusGivenBack(const FocusGivenBack&) = delete;
  FocusGivenBack& operator=(const FocusGivenBack&) = delete;

 private:
  HWND active_ = GetActiveWindow();
  HWND focus_ = GetFocus();
};

}  // namespace

WindowsUi::WindowsUi(int dpi)
    : metrics_(dpi),
      form_class_(L"CorvessaForm", FormWindow::Procedure),
      service_class_(L"CorvessaService", ServiceProcedure) {
  const VisualStyles::Use styles(styles_);
  LoadControlClasses();
  service_window_ = CreateWindowExW(0, service_class_.Name(), nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE,
                                    nullptr, nullptr, nullptr);
  if (!service_window_) com::Check(HRESULT_FROM_WIN32(GetLastError()));
  SetWindowLongPtrW(service_window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

WindowsUi::~WindowsUi() {
  for (const auto& [form, window] : windows_) window->Detach();
  windows_.clear();
  leaving_.clear();
  DestroyWindow(service_window_);
}

LRESULT CALLBACK WindowsUi::ServiceProcedure(HWND window, UINT message, WPARAM word, LPARAM data) {
  auto* const ui = reinterpret_cast<WindowsUi*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!ui || (message != WM_TIMER && message != kSweep)) {
    return DefWindowProcW(window, message, word, data);
  }
  const com::Entry entry;
  message == WM_TIMER ? ui->Tick(word) : ui->Sweep();
  return 0;
}

void WindowsUi::Tick(UINT_PTR number) {
  const auto found = timers_.find(number);
  if (found != timers_.end()) found->second->Tick();
}

void WindowsUi::Sweep() {
  const auto gone =
      std::ranges::stable_partition(leaving_, [](const auto& window) { return window->IsInUse(); });
  // Destroying a window lets events in.
  const std::vector<std::shared_ptr<FormWindow>> free(gone.begin(), gone.end());
  leaving_.erase(gone.begin(), gone.end());
}

FormWindow* WindowsUi::FindWindowOf(Form& form) {
  const auto found = windows_.find(&form);
  const bool is_there = found != windows_.end() && found->second->Handle();
  return is_there ? found->second.get() : nullptr;
}

HWND WindowsUi::OwnerFor(Form* owner) {
  FormWindow* const window = owner ? FindWindowOf(*owner) : nullptr;
  return window ? window->Handle() : OwnForegroundWindow();
}

FormWindow& WindowsUi::WindowOf(Form& form, Form* owner) {
  if (FormWindow* const window = FindWindowOf(form)) return *window;
  FormUnloaded(form);
  const VisualStyles::Use styles(styles_);
  const auto sweep = [window = service_window_] { PostMessageW(window, kSweep, 0, 0); };
  auto made = std::make_shared<FormWindow>(form, form_class_, metrics_, OwnerFor(owner), sweep);
  return *windows_.emplace(&form, std::move(made)).first->second;
}

std::int32_t WindowsUi::ShowBox(std::string_view text, std::string_view title, std::int32_t flags) {
  const HWND owner = OwnForegroundWindow();
  const bool is_above = owner && (GetWindowLongW(owner, GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
  const UINT style = static_cast<UINT>(flags) | MB_SETFOREGROUND |
                     (is_above ? UINT{MB_TOPMOST} : 0) | (owner ? 0 : UINT{MB_TASKMODAL});
  const FocusGivenBack focus;
  const VisualStyles::Use styles(styles_);
  // The box disables its owner itself.
  const ModalScope scope(modality_, owner);
  const int answer = MessageBoxW(owner, ShownLines(text).c_str(), ShownLine(title).c_str(), style);
  const bool can_cancel = (flags & platform::kBoxOkCancel) != 0;
  return answer == IDOK || !can_cancel ? platform::kAnswerOk : platform::kAnswerCancel;
}

void WindowsUi::ShowForm(Form& form) {
  WindowOf(form, nullptr).Show(false);
}

void WindowsUi::RunModal(Form& form, Form* owner) {
  const FormPtr held = form.shared_from_this();
  const FocusGivenBack focus;
  FormWindow& window = WindowOf(form, owner);
  const ModalScope scope(modality_, window.Handle());
  window.Show(true);
  RunLoop(form);
}

void WindowsUi::RunLoop(Form& form) {
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
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

void WindowsUi::DoEvents() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) return PostQuitMessage(static_cast<int>(message.wParam));
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

int WindowsUi::TextWidth(std::string_view text) {
  return metrics_.ModelTextWidth(ShownLine(text));
}

void WindowsUi::FormLoaded(Form& /*form*/) noexcept {
  // Its window is made when it is shown for the first time.
}

void WindowsUi::FormHidden(Form& form) noexcept {
  Ignoring([&] {
    if (FormWindow* const window = FindWindowOf(form)) {
      modality_.End(window->Handle());
      window->Hide();
    }
  });
  // A modal loop looks again.
  PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
}

void WindowsUi::FormUnloaded(Form& form) noexcept {
  const auto found = windows_.find(&form);
  if (found == windows_.end()) return;
  Ignoring([&] {
    leaving_.push_back(found->second);
    found->second->Detach();
    PostMessageW(service_window_, kSweep, 0, 0);
  });
  windows_.erase(found);
}

void WindowsUi::FormChanged(Form& form, platform::FormChange change) noexcept {
  Ignoring([&] {
    if (FormWindow* const window = FindWindowOf(form)) window->Update(change);
  });
}

void WindowsUi::ControlChanged(Form& form, Control& control,
                               platform::ControlChange change) noexcept {
  Ignoring([&] {
    if (FormWindow* const window = FindWindowOf(form)) window->Update(control, change);
  });
}

void WindowsUi::TimerStarted(Timer& timer) noexcept {
  Ignoring([&] {
    timers_[++last_timer_] = &timer;
    SetTimer(service_window_, last_timer_, static_cast<UINT>(timer.Interval()), nullptr);
  });
}

void WindowsUi::TimerStopped(Timer& timer) noexcept {
  const auto found =
      std::ranges::find_if(timers_, [&](const auto& entry) { return entry.second == &timer; });
  if (found == timers_.end()) return;
  KillTimer(service_window_, found->first);
  timers_.erase(found);
}

}  // namespace corvessa::windows
