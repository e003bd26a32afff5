#include "windows/forms/form_window.h"

#include <commctrl.h>
#include <string_view>

#include "base/secret_string.h"
#include "base/text.h"
#include "ui/controls.h"
#include "ui/list_controls.h"
#include "win32/module.h"
#include "win32/utf16.h"
#include "windows/com/entry.h"
#include "windows/com/errors.h"

namespace corvessa::windows {
namespace {

constexpr int kFirstNumber = 100;
constexpr DWORD kStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_CLIPCHILDREN;
constexpr int kFarAway = -32000;

struct Appearance {
  const wchar_t* window_class;
  DWORD style;
};

/// How a control is shown; no class for one that is never drawn.
Appearance AppearanceOf(const Control& control) {
  const std::string_view type = control.TypeName();
  if (type == "Label") {
    const auto& label = static_cast<const Label&>(control);
    return {WC_STATICW, label.UsesMnemonic() ? DWORD{SS_LEFT} : DWORD{SS_LEFT | SS_NOPREFIX}};
  }
  if (type == "Frame") return {WC_BUTTONW, BS_GROUPBOX};
  if (type == "CommandButton") return {WC_BUTTONW, BS_PUSHBUTTON | WS_TABSTOP};
  if (type == "CheckBox") return {WC_BUTTONW, BS_CHECKBOX | WS_TABSTOP};
  if (type == "OptionButton") return {WC_BUTTONW, BS_RADIOBUTTON | WS_TABSTOP};
  if (type == "ComboBox") return {WC_COMBOBOXW, CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP};
  if (type == "ListBox" || type == "ListView") {
    return {WC_LISTBOXW, LBS_NOTIFY | LBS_NOINTEGRALHEIGHT | WS_BORDER | WS_VSCROLL | WS_TABSTOP};
  }
  if (type == "TabStrip") return {WC_TABCONTROLW, WS_TABSTOP};
  if (type == "ProgressBar") return {PROGRESS_CLASSW, 0};
  if (type != "TextBox") return {nullptr, 0};
  const auto& box = static_cast<const TextBox&>(control);
  if (box.IsMultiLine()) {
    return {WC_EDITW,
            ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL | WS_BORDER | WS_TABSTOP};
  }
  const DWORD secret = box.IsPassword() ? ES_PASSWORD : 0;
  return {WC_EDITW, ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP | secret};
}

std::string NameOf(const Control& control) {
  if (control.Index() < 0) return control.Name();
  return control.Name() + "(" + Decimal(control.Index()) + ")";
}

void SetName(HWND window, const std::string& name) {
  const ATOM atom = GlobalAddAtomW(win32::ShownUtf16(name).c_str());
  SetPropW(window, kNameProperty, reinterpret_cast<HANDLE>(static_cast<UINT_PTR>(atom)));
}

void RemoveName(HWND window) {
  const auto atom = reinterpret_cast<UINT_PTR>(RemovePropW(window, kNameProperty));
  if (atom != 0) GlobalDeleteAtom(static_cast<ATOM>(atom));
}

/// What a window holds; wiped, because it may be a passphrase.
SecretString TextOf(HWND window) {
  std::wstring wide(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  wide.resize(
      static_cast<std::size_t>(GetWindowTextW(window, wide.data(), static_cast<int>(wide.size()))));
  std::string narrow = win32::ShownUtf8(wide);
  SecureZeroMemory(wide.data(), wide.size() * sizeof(wchar_t));
  SecretString text(narrow);
  WipeText(narrow);
  return text;
}

void SetText(HWND window, std::string_view text) {
  std::wstring wide = win32::ShownUtf16(text);
  SetWindowTextW(window, wide.c_str());
  SecureZeroMemory(wide.data(), wide.size() * sizeof(wchar_t));
}

/// A row with its mark in front.
std::wstring RowText(const RowsControl& rows, int index) {
  const auto* const marks = dynamic_cast<const ListBox*>(&rows);
  std::string text = rows.Row(index);
  if (marks && marks->HasCheckBoxes()) {
    text.insert(0, marks->RowChecked(index) ? "[x] " : "[ ] ");
  }
  return win32::ShownUtf16(text);
}

/// Fills a list box or combo box.
void FillRows(HWND window, const RowsControl& rows) {
  const bool is_combo = rows.TypeName() == "ComboBox";
  SendMessageW(window, is_combo ? CB_RESETCONTENT : LB_RESETCONTENT, 0, 0);
  for (int i = 0; i < rows.RowCount(); ++i) {
    SendMessageW(window, is_combo ? CB_ADDSTRING : LB_ADDSTRING, 0,
                 reinterpret_cast<LPARAM>(RowText(rows, i).c_str()));
  }
  SendMessageW(window, is_combo ? CB_SETCURSEL : LB_SETCURSEL, static_cast<WPARAM>(rows.Selected()),
               0);
}

void FillTabs(HWND window, const TabStrip& tabs) {
  if (TabCtrl_GetItemCount(window) == 0) {
    int place = 0;
    for (const std::string& caption : tabs.Captions()) {
      std::wstring wide = win32::ShownUtf16(caption);
      TCITEMW item = {};
      item.mask = TCIF_TEXT;
      item.pszText = wide.data();
      SendMessageW(window, TCM_INSERTITEMW, static_cast<WPARAM>(place++),
                   reinterpret_cast<LPARAM>(&item));
    }
  }
  TabCtrl_SetCurSel(window, tabs.Selected() - 1);
}

/// Runs while the program changes standard controls.
class Updating {
 public:
  explicit Updating(bool& flag) : flag_(flag), before_(flag) { flag_ = true; }
  ~Updating() { flag_ = before_; }
  Updating(const Updating&) = delete;
  Updating& operator=(const Updating&) = delete;

 private:
  bool& flag_;
  bool before_;
};

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

HFONT DialogFont() {
  return static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
}

FormWindow::FormWindow(Form& form, const WindowClass& window_class) : form_(&form) {
  const DWORD extended = WS_EX_CONTROLPARENT | (form.ShowsInTaskbar() ? WS_EX_APPWINDOW : 0);
  handle_ =
      CreateWindowExW(extended, window_class.Name(), win32::ShownUtf16(form.Caption()).c_str(),
                      kStyle, 0, 0, 10, 10, form.ShowsInTaskbar() ? nullptr : GetActiveWindow(),
                      nullptr, win32::ThisModule(), nullptr);
  if (!handle_) com::Check(HRESULT_FROM_WIN32(GetLastError()));
  SetWindowLongPtrW(handle_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  SetName(handle_, form.Name());
  Resize();
  for (Control* const control : form.Controls()) MakeControl(*control);
}

FormWindow::~FormWindow() {
  for (const auto& [control, window] : windows_) RemoveName(window);
  RemoveName(handle_);
  SetWindowLongPtrW(handle_, GWLP_USERDATA, 0);
  DestroyWindow(handle_);
}

void FormWindow::Resize() {
  RECT area = {0, 0, form_->Width(), form_->Height()};
  AdjustWindowRectEx(&area, kStyle, FALSE, 0);
  const int width = area.right - area.left;
  const int height = area.bottom - area.top;
  const int left = (GetSystemMetrics(SM_CXSCREEN) - width) / 2;
  const int top = (GetSystemMetrics(SM_CYSCREEN) - height) / 3;
  const bool is_away = form_->IsOffScreen();
  SetWindowPos(handle_, nullptr, is_away ? kFarAway : left, is_away ? kFarAway : top, width, height,
               SWP_NOZORDER | SWP_NOACTIVATE);
}

void FormWindow::MakeControl(Control& control) {
  const Appearance appearance = AppearanceOf(control);
  if (!appearance.window_class) return;
  const int number = kFirstNumber + static_cast<int>(controls_.size());
  const Rect& bounds = control.Bounds();
  const HWND window = CreateWindowExW(0, appearance.window_class, L"", WS_CHILD | appearance.style,
                                      bounds.left, bounds.top, bounds.width, bounds.height, handle_,
                                      reinterpret_cast<HMENU>(static_cast<UINT_PTR>(number)),
                                      win32::ThisModule(), nullptr);
  if (!window) com::Check(HRESULT_FROM_WIN32(GetLastError()));
  SendMessageW(window, WM_SETFONT, reinterpret_cast<WPARAM>(DialogFont()), FALSE);
  SetName(window, NameOf(control));
  controls_[number] = &control;
  windows_[&control] = window;
  UpdateState(control);
  UpdateContent(control);
}

HWND FormWindow::WindowOf(const Control& control) const {
  const auto found = windows_.find(&control);
  return found == windows_.end() ? nullptr : found->second;
}

void FormWindow::Show(bool modal) {
  const LONG extended = GetWindowLongW(handle_, GWL_EXSTYLE) & ~LONG{WS_EX_DLGMODALFRAME};
  SetWindowLongW(handle_, GWL_EXSTYLE, extended | (modal ? WS_EX_DLGMODALFRAME : 0));
  Update(platform::FormChange::kTopmost);
  ShowWindow(handle_, SW_SHOW);
  SetForegroundWindow(handle_);
  Update(platform::FormChange::kFocus);
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
      if (const HWND window = form_->Focus() ? WindowOf(*form_->Focus()) : nullptr) {
        SetFocus(window);
      }
      return;
    case kTopmost:
      SetWindowPos(handle_, form_->IsTopmost() ? HWND_TOPMOST : HWND_NOTOPMOST, 0, 0, 0, 0,
                   SWP_NOMOVE | SWP_NOSIZE);
      return;
    case kTaskbarEntry:
      SetWindowLongW(handle_, GWL_EXSTYLE, GetWindowLongW(handle_, GWL_EXSTYLE) | WS_EX_APPWINDOW);
      return;
    case kIcon:
      return;
  }
}

void FormWindow::Update(Control& control, platform::ControlChange change) {
  using enum platform::ControlChange;
  const HWND window = WindowOf(control);
  if (!window) return;
  if (change == kState) {
    UpdateState(control);
  } else if (change == kBounds) {
    const Rect& bounds = control.Bounds();
    MoveWindow(window, bounds.left, bounds.top, bounds.width, bounds.height, TRUE);
  } else {
    UpdateContent(control);
  }
}

void FormWindow::UpdateState(Control& control) {
  const HWND window = WindowOf(control);
  EnableWindow(window, control.IsUsable());
  ShowWindow(window, control.IsShown() ? SW_SHOWNA : SW_HIDE);
}

void FormWindow::UpdateContent(Control& control) {
  const Updating updating(is_updating_);
  const HWND window = WindowOf(control);
  if (const auto* const box = dynamic_cast<const TextBox*>(&control)) {
    if (TextOf(window).View() != box->Text()) SetText(window, box->Text());
  } else if (const auto* const rows = dynamic_cast<const RowsControl*>(&control)) {
    FillRows(window, *rows);
  } else if (const auto* const tabs = dynamic_cast<const TabStrip*>(&control)) {
    FillTabs(window, *tabs);
  } else if (const auto* const bar = dynamic_cast<const ProgressBar*>(&control)) {
    SendMessageW(window, PBM_SETRANGE32, static_cast<WPARAM>(bar->Min()), bar->Max());
    SendMessageW(window, PBM_SETPOS, static_cast<WPARAM>(bar->Value()), 0);
  } else if (const auto* const captioned = dynamic_cast<const CaptionedControl*>(&control)) {
    SetText(window, captioned->Caption());
  }
  bool is_marked = false;
  if (const auto* const check = dynamic_cast<const CheckBox*>(&control)) {
    is_marked = check->Checked();
  } else if (const auto* const option = dynamic_cast<const OptionButton*>(&control)) {
    is_marked = option->Selected();
  } else {
    return;
  }
  SendMessageW(window, BM_SETCHECK, is_marked ? BST_CHECKED : BST_UNCHECKED, 0);
}

LRESULT CALLBACK FormWindow::Procedure(HWND window, UINT message, WPARAM word, LPARAM data) {
  auto* const self = reinterpret_cast<FormWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  const auto held = self ? self->weak_from_this().lock() : nullptr;
  if (!held || !held->form_) return DefWindowProcW(window, message, word, data);
  const com::Entry entry;
  return held->Handle(message, word, data);
}

LRESULT FormWindow::Handle(UINT message, WPARAM word, LPARAM data) {
  const FormPtr held = form_->shared_from_this();
  switch (message) {
    case WM_CLOSE:
      held->PressCloseBox();
      return 0;
    case WM_COMMAND:
      OnCommand(LOWORD(word), HIWORD(word));
      return 0;
    case WM_NOTIFY:
      OnNotify(*reinterpret_cast<const NMHDR*>(data));
      return 0;
    case DM_GETDEFID:
      for (const auto& [number, control] : controls_) {
        const auto* const button = dynamic_cast<const CommandButton*>(control);
        if (button && button->IsDefault()) return MAKELRESULT(number, DC_HASDEFID);
      }
      return 0;
    default:
      return DefWindowProcW(handle_, message, word, data);
  }
}

void FormWindow::OnCommand(int number, int notification) {
  if (is_updating_) return;
  if (number == IDCANCEL) {
    for (const auto& [own_number, control] : std::map(controls_)) {
      auto* const button = dynamic_cast<CommandButton*>(control);
      if (button && button->IsCancel()) return button->Press();
    }
    return;
  }
  const auto found = controls_.find(number);
  if (found == controls_.end()) return;
  Control* const control = found->second;
  const HWND window = WindowOf(*control);
  if (auto* const box = dynamic_cast<TextBox*>(control)) {
    if (notification == EN_CHANGE) box->Type(TextOf(window).View());
    if (notification == EN_SETFOCUS) form_->SetFocus(*box);
  } else if (auto* const rows = dynamic_cast<RowsControl*>(control)) {
    const bool is_combo = rows->TypeName() == "ComboBox";
    const auto selected =
        static_cast<int>(SendMessageW(window, is_combo ? CB_GETCURSEL : LB_GETCURSEL, 0, 0));
    // A combo box's changed selection has the same number as a list box's.
    static_assert(CBN_SELCHANGE == LBN_SELCHANGE && CBN_DBLCLK == LBN_DBLCLK);
    if (notification == LBN_SELCHANGE) rows->ClickRow(selected);
    auto* const marks = dynamic_cast<ListBox*>(control);
    if (notification == LBN_DBLCLK && marks && marks->HasCheckBoxes()) marks->ToggleRow(selected);
  } else if (notification == BN_CLICKED) {
    if (auto* const button = dynamic_cast<CommandButton*>(control)) return button->Press();
    if (auto* const check = dynamic_cast<CheckBox*>(control)) return check->Toggle();
    if (auto* const option = dynamic_cast<OptionButton*>(control)) return option->Press();
  }
}

void FormWindow::OnNotify(const NMHDR& notification) {
  if (notification.code != static_cast<UINT>(TCN_SELCHANGE)) return;
  const auto found = controls_.find(static_cast<int>(notification.idFrom));
  auto* const tabs = found == controls_.end() ? nullptr : dynamic_cast<TabStrip*>(found->second);
  if (tabs) tabs->ClickTab(TabCtrl_GetCurSel(notification.hwndFrom) + 1);
}

}  // namespace corvessa::windows
