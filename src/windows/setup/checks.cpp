#include <windows.h>
// After windows.h, which they need.
#include <msi.h>
#include <msiquery.h>
#include <tlhelp32.h>

// corvessa_setup.dll: what both kinds of setup ask and say. It is unpacked into a temporary folder
// and not installed.

namespace {

constexpr auto kRefusal =
    L"Outlook is running. Nothing was changed. Close Outlook (File menu, Exit), or end OUTLOOK.EXE "
    L"in the Task Manager if no window is open, then start again.";

/// A library that comes with another product, and what does not work without it.
struct Library {
  const wchar_t* class_key;
  const wchar_t* warning;
};

constexpr Library kLibraries[] = {
    {L"SfMl.SfMailItem\\CLSID",
     L"Installed. But the safe mail item library (SfMl.SfMailItem) is not registered on this "
     L"computer: until it is, protected mail cannot be sent, and addresses from Outlook's address "
     L"book are not found. Your administrator or the supplier of the edition has it."},
    {L"MAPI.Session\\CLSID",
     L"Installed. But Collaboration Data Objects 1.21 (MAPI.Session) is not registered on this "
     L"computer: until it is, recipients without an Internet address are not resolved. It is an "
     L"optional part of Outlook's own setup."},
};

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

bool IsRegistered(const Library& library) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_CLASSES_ROOT, library.class_key, 0, KEY_READ, &key) != ERROR_SUCCESS) {
    return false;
  }
  RegCloseKey(key);
  return true;
}

/// A silent installation writes it to its log only.
void Say(MSIHANDLE installation, int kind, const wchar_t* text) {
  const MSIHANDLE record = MsiCreateRecord(0);
  MsiRecordSetStringW(record, 0, text);
  MsiProcessMessage(installation, static_cast<INSTALLMESSAGE>(kind), record);
  MsiCloseHandle(record);
}

}  // namespace

/// For setup.nsi: 1 if Outlook is running, else 0.
extern "C" int __cdecl OutlookRuns() {
  return IsOutlookRunning() ? 1 : 0;
}

/// For setup.nsi, which has room for 1024 characters: the warning about library 0 or 1, empty when
/// it is registered.
extern "C" void __cdecl MissingLibrary(int number, wchar_t* text) {
  const Library& library = kLibraries[number];
  lstrcpyW(text, IsRegistered(library) ? L"" : library.warning);
}

/// For the .msi, as a custom action: says so and ends the installation if Outlook is running.
extern "C" UINT __stdcall RefuseWhileOutlookRuns(MSIHANDLE installation) {
  if (!IsOutlookRunning()) return ERROR_SUCCESS;
  Say(installation, INSTALLMESSAGE_ERROR, kRefusal);
  return ERROR_INSTALL_FAILURE;
}

/// For the .msi, as a custom action: says which libraries are not registered.
extern "C" UINT __stdcall ReportMissingLibraries(MSIHANDLE installation) {
  for (const Library& library : kLibraries) {
    if (IsRegistered(library)) continue;
    Say(installation, INSTALLMESSAGE_USER | MB_OK | MB_ICONINFORMATION, library.warning);
  }
  return ERROR_SUCCESS;
}
