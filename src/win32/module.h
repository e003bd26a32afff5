#pragma once

#include <string>
#include <windows.h>

/// The program or DLL that this code is part of.
namespace corvessa::win32 {

HMODULE ThisModule();
/// The file that it was loaded from.
std::wstring ModulePath();
/// Keeps it in memory until the process ends, for a thread that cannot be waited for.
void PinModule();

}  // namespace corvessa::win32
