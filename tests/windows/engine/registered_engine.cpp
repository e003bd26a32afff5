#include "windows/engine/registered_engine.h"

#include <algorithm>
#include <stdexcept>
#include <windows.h>

#include "windows_engine/engine_setup.h"

namespace corvessa::windows {
namespace {

constexpr auto kShellFolders =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";
constexpr auto kVariable = L"CORVESSA_TEST_DATA";

void Require(bool succeeded, const char* what) {
  if (!succeeded) throw std::runtime_error(what);
}

/// As the installer registers it: for all programs of this user, so once is enough.
void Register() {
  const HMODULE dll = LoadLibraryW(WindowsPath(CORVESSA_ENGINE_DLL).c_str());
  Require(dll != nullptr, "corvessa_engine.dll cannot be loaded");
  const auto register_server = GetProcAddress(dll, "DllRegisterServer");
  Require(register_server() == S_OK, "corvessa_engine.dll cannot be registered");
  FreeLibrary(dll);
}

/// Programs of one user run side by side; each finds its own folder in its environment.
void MoveApplicationData(const std::filesystem::path& folder) {
  const std::wstring value = L"%" + std::wstring(kVariable) + L"%";
  Require(RegSetKeyValueW(HKEY_CURRENT_USER, kShellFolders, L"AppData", REG_EXPAND_SZ,
                          value.c_str(), static_cast<DWORD>((value.size() + 1) * 2)) == 0,
          "the folder of application data cannot be moved");
  Require(SetEnvironmentVariableW(kVariable, folder.c_str()), "no environment");
}

}  // namespace

std::wstring WindowsPath(const std::string& path) {
  std::wstring windows = L"Z:" + std::filesystem::path(path).wstring();
  std::ranges::replace(windows, L'/', L'\\');
  return windows;
}

RegisteredEngine::RegisteredEngine() {
  static const bool is_registered = (Register(), true);
  Require(is_registered, "never");
  MoveApplicationData(folder.Path());
  Require(SUCCEEDED(CoInitialize(nullptr)), "no COM");
}

RegisteredEngine::~RegisteredEngine() {
  CoUninitialize();
}

std::shared_ptr<engine::OpenPgpEngine> RegisteredEngine::OpenDirectly() {
  return OpenUserEngine();
}

}  // namespace corvessa::windows
