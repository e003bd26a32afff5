#include "windows/forms/tool_tips.h"

#include "win32/module.h"
#include "windows/forms/common_controls.h"

namespace corvessa::windows {
namespace {

/// Longer lines are wrapped.
constexpr LPARAM kWidestTip = 500;
constexpr LPARAM kLongestTime = 30000;

}  // namespace

ToolTips::~ToolTips() {
  if (window_) DestroyWindow(window_);
}

void ToolTips::Set(HWND form, HWND control, std::wstring text) {
  if (!window_ && text.empty()) return;
  if (!window_) {
    window_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr,
                              WS_POPUP | TTS_NOPREFIX | TTS_ALWAYSTIP, 0, 0, 0, 0, form, nullptr,
                              win32::ThisModule(), nullptr);
    SendMessageW(window_, TTM_SETMAXTIPWIDTH, 0, kWidestTip);
    SendMessageW(window_, TTM_SETDELAYTIME, TTDT_AUTOPOP, kLongestTime);
  }
  TTTOOLINFOW tool = {};
  // The size of the first version, which every system takes.
  tool.cbSize = TTTOOLINFOW_V1_SIZE;
  tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  tool.hwnd = form;
  tool.uId = reinterpret_cast<UINT_PTR>(control);
  tool.lpszText = text.data();
  SendMessageW(window_, TTM_DELTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
  if (!text.empty()) SendMessageW(window_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

}  // namespace corvessa::windows
