#include <cstdlib>
#include <iostream>
#include <set>
#include <utility>
#include <vector>

#include "branding/branded_form.h"
#include "message/frm_message_status.h"
#include "ui/list_controls.h"
#include "windows/forms/forms_fixture.h"

/// What the windows of forms are to the system: objects, owners, places.
namespace corvessa::testing {
namespace {

/// How many objects of a kind there are, as far as their numbers tell: new ones fill the gaps.
template <typename Make, typename Delete>
DWORD Count(Make make, Delete remove) {
  constexpr std::size_t kMoreThanGaps = 3000;
  std::vector<decltype(make())> made;
  DWORD highest = 0;
  while (made.size() < kMoreThanGaps) {
    made.push_back(make());
    highest = std::max<DWORD>(highest, LOWORD(reinterpret_cast<ULONG_PTR>(made.back())));
  }
  std::ranges::for_each(made, remove);
  return highest;
}

/// GDI and USER objects. Not every system counts those of a process.
std::pair<DWORD, DWORD> SystemObjects() {
  const DWORD gdi = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
  const DWORD user = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
  if (gdi != 0 && user != 0) return {gdi, user};
  return {Count([] { return CreateSolidBrush(0); }, DeleteObject), Count(CreateMenu, DestroyMenu)};
}

TEST_F(FormsTest, NoObjectOfTheSystemStaysBehindAForm) {
  const char* const asked = std::getenv("CORVESSA_FORM_CYCLES");
  const int cycles = asked ? std::atoi(asked) : 20;
  std::set<std::string> forms;
  for (const gallery::FormCase& one : gallery::FormTable()) {
    if (!forms.insert(one.make()->Name()).second) continue;
    std::pair<DWORD, DWORD> before;
    for (int i = -5; i < cycles; ++i) {
      if (i == 0) before = SystemObjects();
      one.make()->Show();
      DropLoadedForms();
      host.ui.DoEvents();
    }
    const auto after = SystemObjects();
    // The count by gaps is not exact.
    EXPECT_LE(after.first, before.first + 5) << one.picture;
    EXPECT_LE(after.second, before.second + 5) << one.picture;
    if (asked) std::cout << one.picture << ": " << cycles << " cycles" << std::endl;
  }
}

int drawn_pages;

LRESULT CALLBACK CountPages(int code, WPARAM word, LPARAM data) {
  const auto& sent = *reinterpret_cast<const CWPSTRUCT*>(data);
  if (sent.message == WM_PRINTCLIENT && ClassOf(sent.hwnd) == L"SysTabControl32") ++drawn_pages;
  return CallNextHookEx(nullptr, code, word, data);
}

TEST_F(FormsTest, ThePageUnderTheControlsOfATabIsDrawnOnce) {
  const HHOOK hook = SetWindowsHookExW(WH_CALLWNDPROC, CountPages, nullptr, GetCurrentThreadId());
  const FormPtr form = Make("settings");
  Show(*form);
  host.ui.DoEvents();
  UnhookWindowsHookEx(hook);
  EXPECT_EQ(drawn_pages, 1);
}

struct SeenOwner {
  std::string name;
  LONG extended_style;
  std::string text;
  bool is_on_screen;
  HWND owner;
  bool is_owner_enabled;
} seen;

void CALLBACK LookAtOwnersAndClose(HWND /*window*/, UINT /*message*/, UINT_PTR /*timer*/,
                                   DWORD /*time*/) {
  const HWND helper = GetWindow(FindForm(GetCurrentThreadId(), "frmAbout"), GW_OWNER);
  seen = {NameOf(helper),
          GetWindowLongW(helper, GWL_EXSTYLE),
          TextOf(helper),
          MonitorFromWindow(helper, MONITOR_DEFAULTTONULL) != nullptr,
          GetWindow(helper, GW_OWNER),
          IsWindowEnabled(GetWindow(helper, GW_OWNER)) != FALSE};
  DropLoadedForms();
}

TEST_F(FormsTest, AModalFormIsInTheTaskBarHoldsTheForegroundWindowAndGivesTheFocusBack) {
  const HWND outlook = CreateWindowExW(0, L"Static", L"Outlook", WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                                       0, 0, 300, 200, nullptr, nullptr, nullptr, nullptr);
  const HWND mail = CreateWindowExW(0, L"Edit", L"", WS_CHILD | WS_VISIBLE, 0, 0, 100, 100, outlook,
                                    nullptr, nullptr, nullptr);
  SetForegroundWindow(outlook);
  SetFocus(mail);
  const UINT_PTR timer = SetTimer(nullptr, 0, 100, LookAtOwnersAndClose);
  ShowModalForm(*Make("about"));
  KillTimer(nullptr, timer);
  EXPECT_EQ(seen.name, "frmModalShowInTaskbar");
  EXPECT_TRUE(seen.extended_style & WS_EX_APPWINDOW);
  EXPECT_EQ(seen.text, "About Corvessa Professional for Outlook");
  EXPECT_FALSE(seen.is_on_screen);
  EXPECT_EQ(seen.owner, outlook);
  EXPECT_FALSE(seen.is_owner_enabled);
  EXPECT_TRUE(IsWindowEnabled(outlook));
  EXPECT_EQ(GetFocus(), mail);
  DestroyWindow(outlook);
}

TEST_F(FormsTest, AFormStaysOnTopWithoutMoving) {
  const FormPtr form = Make("login");
  const HWND window = Show(*form);
  const auto is_topmost = [&] {
    return (GetWindowLongW(window, GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
  };
  SetWindowPos(window, nullptr, 33, 44, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
  RECT before = {};
  GetWindowRect(window, &before);
  EXPECT_TRUE(is_topmost());
  for (const bool topmost : {false, true}) {
    form->SetTopmost(topmost);
    EXPECT_EQ(is_topmost(), topmost);
    RECT after = {};
    GetWindowRect(window, &after);
    EXPECT_TRUE(EqualRect(&before, &after));
  }
}

TEST_F(FormsTest, TheUserSizesAWindowAndALostOneComesBack) {
  const auto form = Make<frmMessageStatus>("message-status");
  const HWND window = Show(*form);
  MINMAXINFO limits = {};
  Send(window, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
  EXPECT_EQ(limits.ptMinTrackSize.x, 295);
  EXPECT_EQ(limits.ptMinTrackSize.y, 336);
  RECT before = {};
  GetWindowRect(window, &before);
  SetWindowPos(window, nullptr, -9000, -9000, before.right - before.left + 50,
               before.bottom - before.top + 30, SWP_NOZORDER);
  RECT client = {};
  GetClientRect(window, &client);
  const windows::Metrics metrics;
  EXPECT_EQ(form->Width(), metrics.ModelWidth(client.right));
  EXPECT_EQ(form->Height(), metrics.ModelHeight(client.bottom));
  EXPECT_GT(form->Width(), 420);
  EXPECT_EQ(form->lvwEncryption.Bounds().width - 378, form->Width() - 420);
  const auto is_on_screen = [&] {
    return MonitorFromWindow(window, MONITOR_DEFAULTTONULL) != nullptr;
  };
  EXPECT_FALSE(is_on_screen());
  form->Show();
  EXPECT_TRUE(is_on_screen());
  // The monitor is removed while the form is open.
  SetWindowPos(window, nullptr, -9000, -9000, 0, 0, SWP_NOZORDER | SWP_NOSIZE);
  EXPECT_FALSE(is_on_screen());
  Send(window, WM_DISPLAYCHANGE, 32, MAKELPARAM(1280, 1024));
  EXPECT_TRUE(is_on_screen());
}

}  // namespace
}  // namespace corvessa::testing
