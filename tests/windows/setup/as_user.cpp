#include <windows.h>

// as_user COMMAND LINE: runs a program without an administrator's rights and ends as it does.

int wmain() {
  wchar_t* command = wcsstr(GetCommandLineW(), L" -- ");
  HANDLE own = nullptr;
  HANDLE restricted = nullptr;
  BYTE administrators[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof administrators;
  SID_AND_ATTRIBUTES disabled{administrators, 0};
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  DWORD code = 0;
  if (command == nullptr || !OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &own) ||
      !CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators, &size) ||
      !CreateRestrictedToken(own, DISABLE_MAX_PRIVILEGE, 1, &disabled, 0, nullptr, 0, nullptr,
                             &restricted) ||
      !CreateProcessAsUserW(restricted, nullptr, command + 4, nullptr, nullptr, TRUE, 0, nullptr,
                            nullptr, &startup, &process)) {
    return 1000;
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  GetExitCodeProcess(process.hProcess, &code);
  return static_cast<int>(code);
}
