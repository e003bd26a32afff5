#include <utility>

#include "gallery/forms_host.h"
#include "ui/ui_conformance.h"
#include "win32/utf16.h"
#include "windows/forms/common_controls.h"
#include "windows/support/form_windows.h"

/// The windows in the suite of all back ends, worked with by the system's own mouse and keyboard.
namespace corvessa::testing {
namespace {

constexpr DWORD kPause = 20;
constexpr ULONGLONG kSettled = 60;
constexpr ULONGLONG kPatience = 10000;

void Press(WORD key) {
  INPUT inputs[2] = {};
  for (INPUT& input : inputs) {
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
  }
  inputs[1].ki.dwFlags = KEYEVENTF_KEYUP;
  SendInput(2, inputs, sizeof(INPUT));
}

void ClickAt(HWND window, POINT point) {
  ClientToScreen(window, &point);
  SetCursorPos(point.x, point.y);
  INPUT inputs[2] = {};
  inputs[0].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
  inputs[1].mi.dwFlags = MOUSEEVENTF_LEFTUP;
  SendInput(2, inputs, sizeof(INPUT));
}

POINT Middle(const RECT& area) {
  return {(area.left + area.right) / 2, (area.top + area.bottom) / 2};
}

class WindowsDriver final : public UiDriver {
 public:
  WindowsDriver() {
    current_ = this;
    timer_ = SetTimer(nullptr, 0, kPause, Look);
  }
  ~WindowsDriver() override {
    KillTimer(nullptr, timer_);
    DropLoadedForms();
    current_ = nullptr;
  }

  void Click(Control& control, int place) override {
    const HWND window = WindowOf(control);
    if (!IsWindowVisible(window)) return;
    const std::wstring kind = ClassOf(window);
    RECT area = {};
    GetClientRect(window, &area);
    if (kind == L"ComboBox") {
      steps_.push_front([window, place] { ClickDropped(window, place); });
    } else if (kind == L"SysTabControl32") {
      Send(window, TCM_GETITEMRECT, static_cast<WPARAM>(place - 1),
           reinterpret_cast<LPARAM>(&area));
    } else if (kind == L"SysListView32") {
      area.left = LVIR_BOUNDS;
      Send(window, LVM_GETITEMRECT, static_cast<WPARAM>(place), reinterpret_cast<LPARAM>(&area));
      // The check box, where there is one.
      area.right = area.left + 20;
    }
    ClickAt(window, Middle(area));
  }
  void Type(TextBox& box, std::string_view text) override {
    const HWND window = WindowOf(box);
    RECT area = {};
    GetClientRect(window, &area);
    ClickAt(window, Middle(area));
    if (box.IsMultiLine()) return Press('X');
    // As what is pasted: at once.
    steps_.push_front([window, pasted = win32::ShownUtf16(text)] {
      Send(window, EM_SETSEL, 0, -1);
      Send(window, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(pasted.c_str()));
    });
  }
  void PressEnter(Form& /*form*/) override { Press(VK_RETURN); }
  void PressEscape(Form& /*form*/) override { Press(VK_ESCAPE); }
  void PressCloseBox(Form& form) override {
    PostMessageW(WindowOf(form), WM_SYSCOMMAND, SC_CLOSE, 0);
  }
  void PlanBox(const std::string& text, std::int32_t /*flags*/, std::int32_t answer) override {
    Plan({[=] {
      const HWND box = GetForegroundWindow();
      EXPECT_EQ(ClassOf(box), L"#32770");
      EXPECT_EQ(TextOf(GetDlgItem(box, 0xFFFF)), text);
      Press(answer == platform::kAnswerOk ? VK_RETURN : VK_ESCAPE);
    }});
  }
  void Pass(std::int32_t /*milliseconds*/) override {
    // Until a timer ticks, or so long that none can be running.
    last_ = GetTickCount64();
    const ULONGLONG end = last_ + 400;
    MSG message = {};
    while (GetTickCount64() < end) {
      MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
      while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        DispatchMessageW(&message);
        if (message.message == WM_TIMER && ClassOf(message.hwnd) == L"CorvessaService") return;
      }
    }
  }
  void Work(Form& form) override {
    const FormPtr held = form.shared_from_this();
    const auto is_done = [&] {
      return !form.IsVisible() || (!HasSteps() && GetTickCount64() - last_ > 2 * kSettled);
    };
    last_ = GetTickCount64();
    while (!is_done()) {
      MsgWaitForMultipleObjects(0, nullptr, FALSE, kPause, QS_ALLINPUT);
      host_.ui.DoEvents();
    }
  }
  void ExpectShown(Form& form) override {
    EXPECT_EQ(TextOf(WindowOf(form)), form.Caption());
    for (Control* const control : form.Controls()) ExpectShown(*control);
  }

 private:
  static void CALLBACK Look(HWND /*window*/, UINT /*message*/, UINT_PTR /*timer*/, DWORD now) {
    if (current_) current_->LookAndAct(now);
  }
  /// Does what is planned next, once the program has dealt with what came before.
  void LookAndAct(DWORD /*now*/) {
    const ULONGLONG now = GetTickCount64();
    if (now - last_ < kSettled || HIWORD(GetQueueStatus(QS_ALLINPUT & ~QS_TIMER)) != 0) return;
    if (HasSteps()) {
      last_ = now;
      RunStep();
    } else if (now - last_ > kPatience && !LoadedForms().empty()) {
      ADD_FAILURE() << "the windows wait, but nothing is planned";
      DropLoadedForms();
    }
  }
  static void ClickDropped(HWND combo, int row) {
    COMBOBOXINFO parts = {};
    parts.cbSize = sizeof parts;
    GetComboBoxInfo(combo, &parts);
    RECT area = {};
    Send(parts.hwndList, LB_GETITEMRECT, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&area));
    ClickAt(parts.hwndList, Middle(area));
  }
  static HWND WindowOf(const Form& form) { return FindForm(GetCurrentThreadId(), form.Name()); }
  static HWND WindowOf(const Control& control) {
    const std::string place =
        control.Index() < 0 ? "" : "(" + std::to_string(control.Index()) + ")";
    return FindControl(WindowOf(control.Parent()), control.Name() + place);
  }
  static void ExpectShown(const Control& control) {
    const HWND window = WindowOf(control);
    // Timers and the like.
    if (!window) return;
    EXPECT_EQ(IsWindowVisible(window), control.IsShown()) << control.Dump();
    EXPECT_EQ(IsWindowEnabled(window), control.IsUsable()) << control.Dump();
    EXPECT_EQ(Shown(control, window), control.Dump());
    RECT place = {};
    GetWindowRect(window, &place);
    MapWindowPoints(nullptr, WindowOf(control.Parent()), reinterpret_cast<POINT*>(&place), 2);
    const RECT expected = windows::Metrics().OnScreen(control.Bounds());
    EXPECT_TRUE(EqualRect(&place, &expected)) << control.Dump();
  }
  /// The dump of the control if the window shows all of it, else what differs.
  static std::string Shown(const Control& control, HWND window) {
    const auto state = [&](UINT message, int index = 0, LPARAM data = 0) {
      return static_cast<int>(Send(window, message, static_cast<WPARAM>(index), data));
    };
    bool is_shown = true;
    if (const auto* captioned = dynamic_cast<const CaptionedControl*>(&control)) {
      is_shown = TextOf(window) == captioned->Caption();
    }
    if (const auto* box = dynamic_cast<const CheckBox*>(&control)) {
      is_shown = is_shown && (state(BM_GETCHECK) == BST_CHECKED) == box->Checked();
    } else if (const auto* option = dynamic_cast<const OptionButton*>(&control)) {
      is_shown = is_shown && (state(BM_GETCHECK) == BST_CHECKED) == option->Selected();
    } else if (const auto* text = dynamic_cast<const TextBox*>(&control)) {
      is_shown = TextOf(window) == text->Text();
    } else if (const auto* tabs = dynamic_cast<const TabStrip*>(&control)) {
      is_shown = state(TCM_GETCURSEL) == tabs->Selected() - 1;
    } else if (const auto* bar = dynamic_cast<const ProgressBar*>(&control)) {
      is_shown = state(PBM_GETPOS) == bar->Value() && state(PBM_GETRANGE, FALSE) == bar->Max();
    } else if (const auto* rows = dynamic_cast<const RowsControl*>(&control)) {
      const bool is_combo = rows->TypeName() == "ComboBox";
      is_shown = state(is_combo ? CB_GETCOUNT : LVM_GETITEMCOUNT) == rows->RowCount();
      const int selected =
          is_combo ? state(CB_GETCURSEL) : state(LVM_GETNEXTITEM, -1, LVNI_SELECTED);
      is_shown = is_shown && selected == rows->Selected();
      for (int row = 0; row < rows->RowCount(); ++row) {
        wchar_t line[100] = {};
        LVITEMW item = {};
        item.pszText = line;
        item.cchTextMax = 100;
        if (is_combo) state(CB_GETLBTEXT, row, reinterpret_cast<LPARAM>(line));
        if (!is_combo) state(LVM_GETITEMTEXTW, row, reinterpret_cast<LPARAM>(&item));
        is_shown = is_shown && win32::ShownUtf8(line) == rows->Row(row);
        const auto* list = dynamic_cast<const ListBox*>(&control);
        if (!list || !list->HasCheckBoxes()) continue;
        is_shown = is_shown && state(LVM_GETITEMSTATE, row, LVIS_STATEIMAGEMASK) >> 12 ==
                                   (list->RowChecked(row) ? 2 : 1);
      }
    }
    return is_shown ? control.Dump() : "otherwise, with the text " + TextOf(window);
  }

  static inline WindowsDriver* current_ = nullptr;
  gallery::FormsHost host_;
  UINT_PTR timer_ = 0;
  ULONGLONG last_ = GetTickCount64();
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Windows, UiConformance, ::testing::Values(UiDriverFactory([] {
                           return std::make_unique<WindowsDriver>();
                         })));

}  // namespace corvessa::testing
