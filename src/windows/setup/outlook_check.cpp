#include <windows.h>
// After windows.h, which they need.
#include <msi.h>
#include <msiquery.h>
#include <tlhelp32.h>

// corvessa_setup.dll: what both kinds of setup ask before they replace files. It is unpacked into a
// temporary folder and not installed.

namespace {

constexpr auto kRefusal =
    L"Outlook is running. Nothing was changed. Close Outlook (File menu, Exit), or end OUTLOOK.EXE "
    L"in "
    L"the Task Manager if no window is open, then start again.";

/// Looks at processes, not at windows: Outlook without a window holds the DLLs, too.
bool IsOutlookRunning() {
  const HANDLE processes = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  if (processes == INVALID_HANDLE_VALUE) return false;
  PROCESSENTRY32W process{};
  process.dwSize = sizeof process;
  bool found = false;
  for (BOOL more = Process32FirstW(processes, &process); more && !found;
       more = Process32NextW(processes, &process)) {
    found = lstrcmpiW(process.szExeFile, L"OUTLOOK.EXE") == 0;
  }
  CloseHandle(processes);
  return found;
}

}  // namespace

/// For setup.nsi: 1 if Outlook is running, else 0.
extern "C" int __cdecl OutlookRuns() {
  return IsOutlookRunning() ? 1 : 0;
}

/// For the .msi, as a custom action: says so and ends the installation if Outlook is running.
extern "C" UINT __stdcall RefuseWhileOutlookRuns(MSIHANDLE installation) {
  if (!IsOutlookRunning()) return ERROR_SUCCESS;
  const MSIHANDLE record = MsiCreateRecord(0);
  MsiRecordSetStringW(record, 0, kRefusal);
  MsiProcessMessage(installation, INSTALLMESSAGE_ERROR, record);
  MsiCloseHandle(record);
  return ERROR_INSTALL_FAILURE;
}
