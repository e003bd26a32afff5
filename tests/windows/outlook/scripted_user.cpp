#include "windows/outlook/scripted_user.h"

#include <algorithm>
#include <utility>

#include "win32/utf16.h"
#include "windows/forms/common_controls.h"
#include "windows/support/form_windows.h"

namespace corvessa::testing {
namespace {

constexpr DWORD kPause = 5;
/// As long as the program may take to do what a button asks for before the next thing is done.
constexpr ULONGLONG kReaction = 100;
constexpr ULONGLONG kPatience = 1000;

void Notify(HWND form, HWND control, WORD code) {
  Send(form, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(control), code),
       reinterpret_cast<LPARAM>(control));
}

void SetValue(HWND form, HWND control, const std::string& value) {
  const std::wstring wide = win32::ShownUtf16(value);
  const std::wstring kind = ClassOf(control);
  const auto text = reinterpret_cast<LPARAM>(wide.c_str());
  if (kind == L"Edit") {
    Send(control, WM_SETTEXT, 0, text);
  } else if (kind == L"Button") {
    const bool is_on = Send(control, BM_GETCHECK, 0, 0) == BST_CHECKED;
    if (is_on != (value == "on")) Notify(form, control, BN_CLICKED);
  } else if (kind == L"ComboBox") {
    Send(control, CB_SETCURSEL, static_cast<WPARAM>(Send(control, CB_FINDSTRINGEXACT, 0, text)), 0);
    Notify(form, control, CBN_SELCHANGE);
  } else if (kind == L"SysListView32") {
    LVFINDINFOW sought = {};
    sought.flags = LVFI_STRING;
    sought.psz = wide.c_str();
    LVITEMW item = {};
    item.stateMask = item.state = LVIS_SELECTED | LVIS_FOCUSED;
    Send(control, LVM_SETITEMSTATE,
         static_cast<WPARAM>(Send(control, LVM_FINDITEMW, static_cast<WPARAM>(-1),
                                  reinterpret_cast<LPARAM>(&sought))),
         reinterpret_cast<LPARAM>(&item));
  }
}

BOOL CALLBACK AddWords(HWND window, LPARAM data) {
  if (ClassOf(window) == L"Static" && IsWindowVisible(window)) {
    *reinterpret_cast<std::string*>(data) += "\n" + TextOf(window);
  }
  return TRUE;
}

/// What the form says: its caption and labels.
std::string WordsOf(HWND form) {
  std::string words = TextOf(form);
  EnumChildWindows(form, AddWords, reinterpret_cast<LPARAM>(&words));
  return words;
}

}  // namespace

ScriptedUser::ScriptedUser() {
  thread_ = std::thread([this] { Run(); });
}

ScriptedUser::~ScriptedUser() {
  SetEvent(ended_);
  thread_.join();
  CloseHandle(ended_);
}

void ScriptedUser::Queue(Answer answer) {
  const std::lock_guard lock(mutex_);
  answers_.push_back(std::move(answer));
}

void ScriptedUser::ForgetAnswers() {
  const std::lock_guard lock(mutex_);
  answers_.clear();
}

std::vector<ScriptedUser::Box> ScriptedUser::TakeBoxes() {
  const std::lock_guard lock(mutex_);
  return std::exchange(boxes_, {});
}

bool ScriptedUser::TakeAnswer(const std::string& form, Answer& answer) {
  const std::lock_guard lock(mutex_);
  const auto found =
      std::ranges::find_if(answers_, [&](const Answer& one) { return one.form == form; });
  if (found == answers_.end()) return false;
  answer = std::move(*found);
  answers_.erase(found);
  return true;
}

void ScriptedUser::Note(Box box) {
  const std::lock_guard lock(mutex_);
  boxes_.push_back(std::move(box));
}

void ScriptedUser::Run() {
  while (WaitForSingleObject(ended_, kPause) == WAIT_TIMEOUT) {
    std::erase_if(acted_, [](const auto& entry) { return !IsWindowVisible(entry.first); });
    EnumThreadWindows(watched_, See, reinterpret_cast<LPARAM>(this));
  }
}

BOOL CALLBACK ScriptedUser::See(HWND window, LPARAM user) {
  if (IsWindowVisible(window)) reinterpret_cast<ScriptedUser*>(user)->Look(window);
  return TRUE;
}

void ScriptedUser::Look(HWND window) {
  const std::wstring kind = ClassOf(window);
  if (kind == L"#32770" && acted_.emplace(window, Acted{}).second) AnswerBox(window);
  if (kind == L"CorvessaForm" && IsWindowEnabled(window)) AnswerForm(window, NameOf(window));
}

void ScriptedUser::AnswerBox(HWND window) {
  Box box{"MessageBox", TextOf(GetDlgItem(window, 0xFFFF)), ""};
  Answer answer;
  const bool is_ok = TakeAnswer("MessageBox", answer) && answer.press == "OK";
  box.answer = is_ok ? "OK" : "Cancel";
  Note(std::move(box));
  PostMessageW(window, WM_COMMAND, is_ok ? IDOK : IDCANCEL, 0);
}

void ScriptedUser::AnswerForm(HWND window, const std::string& name) {
  const bool is_modal = (GetWindowLongW(window, GWL_EXSTYLE) & WS_EX_DLGMODALFRAME) != 0;
  const ULONGLONG now = GetTickCount64();
  const auto acted = acted_.find(window);
  const bool is_new = acted == acted_.end();
  const ULONGLONG rested = is_new ? kPatience : now - acted->second.last;
  if (rested < kReaction) return;
  Answer answer;
  const bool is_answered = TakeAnswer(name, answer);
  const bool is_left = !is_modal || (!is_new && acted->second.is_left);
  if (!is_answered && (is_left || rested < kPatience)) {
    if (is_new) Note({name, WordsOf(window), ""});
    if (is_new) acted_[window] = {now, true};
    return;
  }
  Box box{name, WordsOf(window), answer.press};
  for (const auto& [control, value] : answer.values) {
    if (const HWND found = FindControl(window, control)) {
      SetValue(window, found, value);
    } else {
      box.answer += " (no " + control + ")";
    }
  }
  const HWND button = answer.press.empty() ? nullptr : FindControl(window, answer.press);
  if (!button && answer.press != "leave") box.answer = "closed" + box.answer;
  Note(std::move(box));
  acted_[window] = {now, answer.press == "leave"};
  if (answer.press == "leave") return;
  if (button) {
    PostMessageW(window, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(button), BN_CLICKED),
                 reinterpret_cast<LPARAM>(button));
  } else {
    PostMessageW(window, WM_CLOSE, 0, 0);
  }
}

}  // namespace corvessa::testing
