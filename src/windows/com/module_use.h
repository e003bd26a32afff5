#pragma once

#include <windows.h>

namespace corvessa::com {

/// Keeps the DLL in memory as long as it lives, as part of every object; so does a lock.
class ModuleUse {
 public:
  ModuleUse() { Lock(); }
  ModuleUse(const ModuleUse&) = delete;
  ModuleUse& operator=(const ModuleUse&) = delete;
  ~ModuleUse() { Unlock(); }

  static bool IsAny() { return count_ != 0; }
  static void Lock() { InterlockedIncrement(&count_); }
  static void Unlock() { InterlockedDecrement(&count_); }

 private:
  static inline LONG count_ = 0;
};

}  // namespace corvessa::com
