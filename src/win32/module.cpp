#include "win32/module.h"

/// The start of the module in memory, which is its handle; the linker defines it.
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace corvessa::win32 {

HMODULE ThisModule() {
  return reinterpret_cast<HMODULE>(&__ImageBase);
}

std::wstring ModulePath() {
  std::wstring path(MAX_PATH, L'\0');
  while (true) {
    const DWORD size =
        GetModuleFileNameW(ThisModule(), path.data(), static_cast<DWORD>(path.size()));
    if (size < path.size()) return path.substr(0, size);
    path.resize(path.size() * 2);
  }
}

void PinModule() {
  LoadLibraryW(ModulePath().c_str());
}

}  // namespace corvessa::win32
