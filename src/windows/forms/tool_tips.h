#pragma once

#include <string>
#include <windows.h>

namespace corvessa::windows {

/// The tool tips of a form's controls.
class ToolTips {
 public:
  ToolTips() = default;
  ~ToolTips();
  ToolTips(const ToolTips&) = delete;
  ToolTips& operator=(const ToolTips&) = delete;

  /// Shows the text while the mouse rests on the control; no tool tip for an empty text.
  void Set(HWND form, HWND control, std::wstring text);

 private:
  HWND window_ = nullptr;
};

}  // namespace corvessa::windows
