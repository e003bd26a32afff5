#include "windows/engine/registered_engine.h"

#include <algorithm>
#include <stdexcept>
#include <windows.h>

#include "windows_engine/engine_setup.h"

namespace corvessa::windows {
namespace {

constexpr auto kShellFolders =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";

void Require(bool succeeded, const char* what) {
  if (!succeeded) throw std::runtime_error(what);
}

}  // namespace

std::wstring WindowsPath(const std::string& path) {
  std::wstring windows = L"Z:" + std::filesystem::path(path).wstring();
  std::ranges::replace(windows, L'/', L'\\');
  return windows;
}

RegisteredEngine::RegisteredEngine() {
  // As the installer registers it: for all programs of this user, so once is enough.
  static const bool is_registered = [] {
    const HMODULE dll = LoadLibraryW(WindowsPath(CORVESSA_ENGINE_DLL).c_str());
    Require(dll != nullptr, "corvessa_engine.dll cannot be loaded");
    const bool succeeded = GetProcAddress(dll, "DllRegisterServer")() == S_OK;
    return FreeLibrary(dll) && succeeded;
  }();
  Require(is_registered, "corvessa_engine.dll cannot be registered");
  // Programs of one user run side by side; each finds its own folder in its environment.
  constexpr wchar_t kValue[] = L"%CORVESSA_TEST_DATA%";
  Require(RegSetKeyValueW(HKEY_CURRENT_USER, kShellFolders, L"AppData", REG_EXPAND_SZ, kValue,
                          sizeof kValue) == 0,
          "the folder of application data cannot be moved");
  Require(SetEnvironmentVariableW(L"CORVESSA_TEST_DATA", folder.Path().c_str()), "no environment");
  Require(SUCCEEDED(CoInitialize(nullptr)), "no COM");
}

RegisteredEngine::~RegisteredEngine() {
  CoUninitialize();
}

std::shared_ptr<engine::OpenPgpEngine> RegisteredEngine::OpenDirectly() {
  return OpenUserEngine();
}

void RegisteredEngine::Generate(const std::string& address) {
  engine::EngineConfig config = UserEngineConfig();
  config.passphrase_work = 1U << 16;
  engine::KeyInfo made;
  Require(engine::CreateOpenPgpEngine(config)->GenerateKey("", address, "secret", made) == 0,
          "no key was made");
}

}  // namespace corvessa::windows
