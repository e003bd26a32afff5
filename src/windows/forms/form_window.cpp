#include "windows/forms/form_window.h"

#include <algorithm>
#include <utility>

#include "ui/controls.h"
#include "ui/list_controls.h"
#include "win32/module.h"
#include "win32/utf16.h"
#include "windows/com/entry.h"
#include "windows/com/errors.h"
#include "windows/forms/control_kinds.h"
#include "windows/forms/metrics.h"
#include "windows/forms/pictures.h"
#include "windows/forms/window_text.h"

namespace corvessa::windows {
namespace {

constexpr DWORD kTitled = WS_POPUP | WS_CAPTION | WS_SYSMENU;
constexpr DWORD kSizable = WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
/// A form without a title is a picture on the screen.
constexpr DWORD kBare = WS_POPUP | WS_DLGFRAME;
constexpr int kFarAway = -32000;

DWORD StyleOf(const Form& form) {
  if (form.Caption().empty() && !form.IsOffScreen()) return kBare;
  return form.MinimumWindowWidth() > 0 ? kTitled | kSizable : kTitled;
}

bool TakesFocus(const Form& form) {
  return std::ranges::any_of(form.Controls(),
                             [](const Control* control) { return control->TakesFocus(); });
}

/// The part of the nearest monitor that no task bar covers.
RECT WorkArea(HWND window) {
  MONITORINFO monitor = {};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor);
  return monitor.rcWork;
}

/// Draws a page of controls in a context of the form, whose origin may be anywhere.
void FillPage(HDC context, HWND page_window, HBRUSH page) {
  RECT area = {};
  GetWindowRect(page_window, &area);
  MapWindowPoints(nullptr, GetParent(page_window), reinterpret_cast<POINT*>(&area), 2);
  POINT origin = {};
  GetViewportOrgEx(context, &origin);
  SetBrushOrgEx(context, origin.x + area.left, origin.y + area.top, nullptr);
  FillRect(context, &area, page);
}

}  // namespace

WindowClass::WindowClass(const wchar_t* name, WNDPROC procedure) : name_(name) {
  WNDCLASSW window_class = {};
  window_class.lpfnWndProc = procedure;
  window_class.hInstance = win32::ThisModule();
  window_class.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  window_class.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<UINT_PTR>(COLOR_BTNFACE + 1));
  window_class.lpszClassName = name;
  if (!RegisterClassW(&window_class)) com::Check(HRESULT_FROM_WIN32(GetLastError()));
}

WindowClass::~WindowClass() {
  UnregisterClassW(name_, win32::ThisModule());
}

FormWindow::FormWindow(Form& form, const WindowClass& window_class, const Metrics& metrics,
                       HWND owner, std::function<void()> on_released)
    : form_(&form), metrics_(metrics), on_released_(std::move(on_released)) {
  const DWORD extended = form.ShowsInTaskbar() ? WS_EX_APPWINDOW : 0;
  handle_ = CreateWindowExW(extended | WS_EX_CONTROLPARENT, window_class.Name(),
                            win32::ShownUtf16(form.Caption()).c_str(), StyleOf(form), 0, 0, 10, 10,
                            owner, nullptr, win32::ThisModule(), nullptr);
  if (!handle_) com::Check(HRESULT_FROM_WIN32(GetLastError()));
  SetWindowLongPtrW(handle_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  SetNameProperty(handle_, form.Name());
  Update(platform::FormChange::kIcon);
  Resize();
  MakeControls();
  // The system's controls know the colours of the time when they were loaded, else.
  PassOn(WM_SYSCOLORCHANGE);
}

FormWindow::~FormWindow() {
  controls_.clear();
  if (!handle_) return;
  PassOnOwned();
  RemoveNames();
  SetWindowLongPtrW(handle_, GWLP_USERDATA, 0);
  DestroyWindow(handle_);
}

FormWindow* FormWindow::Of(HWND window) {
  const auto procedure = reinterpret_cast<LONG_PTR>(Procedure);
  if (!window || GetWindowLongPtrW(window, GWLP_WNDPROC) != procedure) return nullptr;
  return reinterpret_cast<FormWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

void FormWindow::MakeControls() {
  for (Control* const control : form_->Controls()) {
    // Screen readers take the label before a control for its name, also one that is not seen.
    if (const std::string& name = control->AccessibleName(); !name.empty()) {
      CreateWindowExW(0, L"Static", win32::ShownUtf16(name).c_str(), WS_CHILD, 0, 0, 0, 0, handle_,
                      nullptr, win32::ThisModule(), nullptr);
    }
    if (auto window = MakeControlWindow(*this, *control)) controls_.push_back(std::move(window));
  }
  // What lies behind the others is drawn first; the last one of all is the one farthest back.
  for (auto window = controls_.rbegin(); window != controls_.rend(); ++window) {
    if (!(*window)->IsBackground()) continue;
    SetWindowPos((*window)->Handle(), HWND_BOTTOM, 0, 0, 0, 0,
                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  }
  MarkDefaultButton();
}

ControlWindow* FormWindow::WindowOf(const Control& control) const {
  const auto found =
      std::ranges::find_if(controls_, [&](const auto& one) { return &one->Model() == &control; });
  return found == controls_.end() ? nullptr : found->get();
}

ControlWindow* FormWindow::WindowOf(HWND window) const {
  const auto found =
      std::ranges::find_if(controls_, [&](const auto& one) { return one->Handle() == window; });
  return found == controls_.end() ? nullptr : found->get();
}

void FormWindow::Detach() {
  form_ = nullptr;
}

void FormWindow::Show(bool modal) {
  const LONG extended = GetWindowLongW(handle_, GWL_EXSTYLE) & ~LONG{WS_EX_DLGMODALFRAME};
  SetWindowLongW(handle_, GWL_EXSTYLE, extended | (modal ? WS_EX_DLGMODALFRAME : 0));
  BringOntoScreen();
  Update(platform::FormChange::kTopmost);
  if (TakesFocus(*form_) || modal) {
    ShowWindow(handle_, IsIconic(handle_) ? SW_RESTORE : SW_SHOW);
    SetForegroundWindow(handle_);
    PlaceFocus();
  } else {
    // It only tells: the user may be typing elsewhere.
    ShowWindow(handle_, SW_SHOWNOACTIVATE);
  }
  UpdateWindow(handle_);
}

void FormWindow::Hide() {
  ShowWindow(handle_, SW_HIDE);
}

void FormWindow::Update(platform::FormChange change) {
  using enum platform::FormChange;
  switch (change) {
    case kCaption:
      return SetText(handle_, form_->Caption());
    case kSize:
      return Resize();
    case kFocus:
      return PlaceFocus();
    case kTopmost:
      SetWindowPos(handle_, form_->IsTopmost() ? HWND_TOPMOST : HWND_NOTOPMOST, 0, 0, 0, 0,
                   SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
      return;
    case kTaskbarEntry: {
      const LONG extended = GetWindowLongW(handle_, GWL_EXSTYLE) & ~LONG{WS_EX_APPWINDOW};
      const LONG entry = form_->ShowsInTaskbar() ? WS_EX_APPWINDOW : 0;
      SetWindowLongW(handle_, GWL_EXSTYLE, extended | entry);
      return;
    }
    case kIcon:
      if (!form_->Icon()) return;
      for (const auto& [kind, metric] :
           {std::pair(ICON_SMALL, SM_CXSMICON), std::pair(ICON_BIG, SM_CXICON)}) {
        const int side = GetSystemMetrics(metric);
        SendMessageW(handle_, WM_SETICON, static_cast<WPARAM>(kind),
                     reinterpret_cast<LPARAM>(FindIcon(*form_->Icon(), side, side)));
      }
      return;
  }
}

void FormWindow::Update(Control& control, platform::ControlChange change) {
  if (ControlWindow* const window = WindowOf(control)) window->Update(change);
}

void FormWindow::FocusReached(ControlWindow& control) {
  MarkDefaultButton();
  if (!form_ || is_placing_focus_) return;
  const FormPtr held = form_->shared_from_this();
  held->SetFocus(control.Model());
}

void FormWindow::PlaceFocus() {
  if (!form_ || is_placing_focus_ || GetActiveWindow() != handle_) return;
  Control* control = form_->Focus();
  if (!control || !control->IsShown() || !control->IsUsable()) control = FirstInTabOrder(*form_);
  ControlWindow* const window = control ? WindowOf(*control) : nullptr;
  if (window && GetFocus() == window->Handle()) return;
  is_placing_focus_ = true;
  if (window) {
    window->TakeFocus();
  } else {
    SetFocus(handle_);
  }
  is_placing_focus_ = false;
}

void FormWindow::MarkDefaultButton() {
  if (!form_) return;
  const ControlWindow* const focused = WindowOf(GetFocus());
  const bool on_button = focused && dynamic_cast<CommandButton*>(&focused->Model());
  for (const auto& window : controls_) {
    const auto* const button = dynamic_cast<const CommandButton*>(&window->Model());
    if (!button) continue;
    const bool is_marked = on_button ? window.get() == focused : button->IsDefault();
    const LONG kind = is_marked ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON;
    if ((GetWindowLongW(window->Handle(), GWL_STYLE) & BS_TYPEMASK) == kind) continue;
    SendMessageW(window->Handle(), BM_SETSTYLE, static_cast<WPARAM>(kind), TRUE);
  }
}

void FormWindow::ShowTip(ControlWindow& control) {
  tips_.Set(handle_, control.Handle(), control.HiddenText());
}

HBRUSH FormWindow::BackgroundOf(const ControlWindow& control, HDC context) {
  RECT place = {};
  GetWindowRect(control.Handle(), &place);
  for (const auto& window : controls_) {
    RECT area = {};
    GetWindowRect(window->Handle(), &area);
    const bool is_under = window.get() != &control && place.left >= area.left &&
                          place.top >= area.top && place.right <= area.right &&
                          place.bottom <= area.bottom;
    const HBRUSH brush = is_under ? window->PageBrush() : nullptr;
    if (!brush) continue;
    SetBrushOrgEx(context, area.left - place.left, area.top - place.top, nullptr);
    return brush;
  }
  return GetSysColorBrush(COLOR_BTNFACE);
}

LRESULT CALLBACK FormWindow::Procedure(HWND window, UINT message, WPARAM word, LPARAM data) {
  auto* const self = reinterpret_cast<FormWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  const auto held = self ? self->weak_from_this().lock() : nullptr;
  if (!held || !held->form_) return DefWindowProcW(window, message, word, data);
  const com::Entry entry;
  const InUse in_use(*held);
  const FormPtr model = held->form_->shared_from_this();
  return held->OnMessage(message, word, data);
}

LRESULT FormWindow::OnMessage(UINT message, WPARAM word, LPARAM data) {
  switch (message) {
    case WM_CLOSE:
      form_->PressCloseBox();
      return 0;
    case WM_COMMAND:
      if (ControlWindow* const control = WindowOf(reinterpret_cast<HWND>(data))) {
        control->OnCommand(HIWORD(word));
      }
      return 0;
    case WM_NOTIFY: {
      const auto& notification = *reinterpret_cast<const NMHDR*>(data);
      ControlWindow* const control = WindowOf(notification.hwndFrom);
      return control ? control->OnNotify(notification) : 0;
    }
    case WM_DRAWITEM: {
      const auto& drawing = *reinterpret_cast<const DRAWITEMSTRUCT*>(data);
      if (ControlWindow* const control = WindowOf(drawing.hwndItem)) control->Draw(drawing);
      return TRUE;
    }
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORBTN: {
      const ControlWindow* const control = WindowOf(reinterpret_cast<HWND>(data));
      if (!control || dynamic_cast<TextBox*>(&control->Model())) break;
      const auto context = reinterpret_cast<HDC>(word);
      DefWindowProcW(handle_, message, word, data);
      SetBkMode(context, TRANSPARENT);
      return reinterpret_cast<LRESULT>(BackgroundOf(*control, context));
    }
    case WM_PRINTCLIENT:
      // A themed control asks for what is under it.
      for (const auto& control : controls_) {
        const HBRUSH page = IsWindowVisible(control->Handle()) ? control->PageBrush() : nullptr;
        if (page) FillPage(reinterpret_cast<HDC>(word), control->Handle(), page);
      }
      return 0;
    case kFormKeyMessage:
      DoKey({static_cast<FormKey::Action>(word), reinterpret_cast<Control*>(data)});
      return 0;
    case WM_SETFOCUS:
      PlaceFocus();
      return 0;
    case WM_SIZE:
      if (word != SIZE_MINIMIZED) ResizedByUser(LOWORD(data), HIWORD(data));
      return 0;
    case WM_GETMINMAXINFO: {
      auto& limits = *reinterpret_cast<MINMAXINFO*>(data);
      if (form_->MinimumWindowWidth() == 0) break;
      // Borders and title do not follow the font.
      const int dpi = ScreenDpi();
      limits.ptMinTrackSize = {MulDiv(form_->MinimumWindowWidth(), dpi, USER_DEFAULT_SCREEN_DPI),
                               MulDiv(form_->MinimumWindowHeight(), dpi, USER_DEFAULT_SCREEN_DPI)};
      return 0;
    }
    case WM_DISPLAYCHANGE:
      BringOntoScreen();
      return 0;
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
      PassOn(message);
      break;
    case WM_DESTROY:
      RemoveNames();
      return 0;
    case WM_NCDESTROY:
      LoseWindow();
      return 0;
    default:
      break;
  }
  return DefWindowProcW(handle_, message, word, data);
}

void FormWindow::TranslateKey(MSG& message) const {
  if (!form_ || !IsWindowEnabled(handle_)) return;
  const ControlWindow* const focused = WindowOf(message.hwnd);
  const FormKey key = MeaningOf(message, *form_, focused ? &focused->Model() : nullptr);
  if (key.action == FormKey::Action::kNone) return;
  message.hwnd = handle_;
  message.message = kFormKeyMessage;
  message.wParam = static_cast<WPARAM>(key.action);
  message.lParam = reinterpret_cast<LPARAM>(key.control);
}

void FormWindow::DoKey(const FormKey& key) {
  using enum FormKey::Action;
  ControlWindow* const window = WindowOf(*key.control);
  if (!window) return;
  if (key.action == kFocus || key.action == kFocusAndPress) {
    window->TakeFocus();
    // What happens when another control loses the focus may have ended the form.
    if (!form_) return;
  }
  if (key.action == kFocus) return;
  if (auto* const button = dynamic_cast<CommandButton*>(key.control)) {
    button->Press();
  } else if (auto* const box = dynamic_cast<CheckBox*>(key.control)) {
    box->Toggle();
  } else if (auto* const option = dynamic_cast<OptionButton*>(key.control)) {
    option->Press();
  } else if (auto* const tabs = dynamic_cast<TabStrip*>(key.control)) {
    const auto count = static_cast<int>(tabs->Captions().size());
    const int step = key.action == kNextTab ? 0 : count - 2;
    tabs->ClickTab((tabs->Selected() + step) % count + 1);
  }
}

void FormWindow::Resize() {
  if (is_resizing_) return;
  const auto style = static_cast<DWORD>(GetWindowLongW(handle_, GWL_STYLE));
  RECT area = {0, 0, metrics_.Across(form_->Width()), metrics_.Down(form_->Height())};
  AdjustWindowRectEx(&area, style, FALSE, 0);
  const int width = area.right - area.left;
  const int height = area.bottom - area.top;
  if (form_->IsOffScreen()) {
    SetWindowPos(handle_, nullptr, kFarAway, kFarAway, width, height,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    return;
  }
  const bool before = std::exchange(is_resizing_, true);
  SetWindowPos(handle_, nullptr, 0, 0, width, height, SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOMOVE);
  is_resizing_ = before;
}

void FormWindow::ResizedByUser(int width, int height) {
  // The program's own sizes come back here, too.
  if (is_resizing_ || form_->MinimumWindowWidth() == 0 || !IsWindowVisible(handle_)) return;
  is_resizing_ = true;
  form_->Resize(metrics_.ModelWidth(width), metrics_.ModelHeight(height));
  is_resizing_ = false;
}

void FormWindow::BringOntoScreen() {
  if (form_->IsOffScreen()) return;
  RECT place = {};
  GetWindowRect(handle_, &place);
  const bool is_new = !was_placed_;
  const bool is_lost = !MonitorFromRect(&place, MONITOR_DEFAULTTONULL);
  if (!is_new && !is_lost) return;
  was_placed_ = true;
  const HWND owner = GetWindow(handle_, GW_OWNER);
  const RECT area = WorkArea(owner ? owner : handle_);
  const int left = area.left + (area.right - area.left - (place.right - place.left)) / 2;
  const int top = area.top + (area.bottom - area.top - (place.bottom - place.top)) / 3;
  SetWindowPos(handle_, nullptr, std::max<int>(left, area.left), std::max<int>(top, area.top), 0, 0,
               SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOSIZE);
}

void FormWindow::PassOn(UINT message) const {
  for (const auto& control : controls_) SendMessageW(control->Handle(), message, 0, 0);
}

BOOL CALLBACK FormWindow::GiveOwner(HWND window, LPARAM owner) {
  const auto going = reinterpret_cast<HWND>(owner);
  if (GetWindow(window, GW_OWNER) == going) {
    SetWindowLongPtrW(window, GWLP_HWNDPARENT,
                      reinterpret_cast<LONG_PTR>(GetWindow(going, GW_OWNER)));
  }
  return TRUE;
}

void FormWindow::PassOnOwned() const {
  EnumThreadWindows(GetCurrentThreadId(), GiveOwner, reinterpret_cast<LPARAM>(handle_));
}

void FormWindow::RemoveNames() const {
  for (const auto& control : controls_) RemoveNameProperty(control->Handle());
  RemoveNameProperty(handle_);
}

void FormWindow::LoseWindow() {
  SetWindowLongPtrW(handle_, GWLP_USERDATA, 0);
  handle_ = nullptr;
  const FormPtr held = form_->shared_from_this();
  // A form that refuses is not seen any more all the same.
  if (!held->Unload()) held->Hide();
}

}  // namespace corvessa::windows
