#pragma once

#include <windows.h>

namespace corvessa::windows {

/// Watches the messages of this thread as long as it lives, whose loop ever takes them: a form
/// shown without blocking lives on Outlook's own loop, which knows nothing of dialogs.
class KeyboardHook {
 public:
  KeyboardHook();
  ~KeyboardHook();
  KeyboardHook(const KeyboardHook&) = delete;
  KeyboardHook& operator=(const KeyboardHook&) = delete;

 private:
  HHOOK hook_;
};

}  // namespace corvessa::windows
