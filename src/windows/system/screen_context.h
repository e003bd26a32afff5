#pragma once

#include <windows.h>

namespace corvessa::windows {

/// The device context of the whole screen, for measuring and for bitmaps of its kind.
class ScreenContext {
 public:
  ScreenContext() : context_(GetDC(nullptr)) {}
  ~ScreenContext() { ReleaseDC(nullptr, context_); }
  ScreenContext(const ScreenContext&) = delete;
  ScreenContext& operator=(const ScreenContext&) = delete;
  HDC Get() const { return context_; }

 private:
  HDC context_;
};

}  // namespace corvessa::windows
