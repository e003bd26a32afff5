#include <ole2.h>
#include <shlwapi.h>
#include <string>

#include "win32/module.h"
#include "windows/com/errors.h"
#include "windows/com/server.h"
#include "windows/com/type_library.h"

namespace corvessa::com {
namespace {

const std::wstring kClasses = L"Software\\Classes\\";

std::wstring GuidText(const GUID& guid) {
  wchar_t text[40];
  StringFromGUID2(guid, text, static_cast<int>(std::size(text)));
  return text;
}

std::wstring ClassKey(const ComClass& com_class) {
  return kClasses + L"CLSID\\" + GuidText(com_class.clsid);
}

/// A null name is the key's own value.
void SetValue(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
  HKEY opened = nullptr;
  LSTATUS status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, 0, KEY_SET_VALUE,
                                   nullptr, &opened, nullptr);
  Check(HRESULT_FROM_WIN32(status));
  const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
  status =
      RegSetValueExW(opened, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()), size);
  RegCloseKey(opened);
  Check(HRESULT_FROM_WIN32(status));
}

void DeleteKey(const std::wstring& key) {
  const LSTATUS status = SHDeleteKeyW(HKEY_LOCAL_MACHINE, key.c_str());
  if (status != ERROR_FILE_NOT_FOUND) Check(HRESULT_FROM_WIN32(status));
}

/// What identifies a type library to the system.
TLIBATTR AttributesOf(ITypeLib& library) {
  TLIBATTR* attributes = nullptr;
  Check(library.GetLibAttr(&attributes));
  const TLIBATTR copy = *attributes;
  library.ReleaseTLibAttr(attributes);
  return copy;
}

bool IsRegistered(const TLIBATTR& library) {
  BSTR path = nullptr;
  const HRESULT result = QueryPathOfRegTypeLib(library.guid, library.wMajorVerNum,
                                               library.wMinorVerNum, library.lcid, &path);
  SysFreeString(path);
  return SUCCEEDED(result);
}

void RegisterClass(const ComClass& com_class, const std::wstring& library) {
  const std::wstring key = ClassKey(com_class);
  SetValue(key, nullptr, com_class.description);
  SetValue(key + L"\\InprocServer32", nullptr, win32::ModulePath());
  SetValue(key + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
  SetValue(key + L"\\ProgID", nullptr, com_class.prog_id);
  SetValue(key + L"\\TypeLib", nullptr, library);
  SetValue(kClasses + com_class.prog_id, nullptr, com_class.description);
  SetValue(kClasses + com_class.prog_id + L"\\CLSID", nullptr, GuidText(com_class.clsid));
}

void RegisterAll(std::span<const ComClass> classes) {
  const auto library = LoadTypeLibrary();
  const std::wstring id = GuidText(AttributesOf(*library.Get()).guid);
  for (const ComClass& com_class : classes) RegisterClass(com_class, id);
  Check(RegisterTypeLib(library.Get(), win32::ModulePath().data(), nullptr));
}

void UnregisterAll(std::span<const ComClass> classes) {
  for (const ComClass& com_class : classes) {
    DeleteKey(ClassKey(com_class));
    DeleteKey(kClasses + com_class.prog_id);
  }
  const TLIBATTR library = AttributesOf(*LoadTypeLibrary().Get());
  // What unregistering an unknown library answers depends on the system.
  if (!IsRegistered(library)) return;
  Check(UnRegisterTypeLib(library.guid, library.wMajorVerNum, library.wMinorVerNum, library.lcid,
                          library.syskind));
}

}  // namespace

HRESULT Register(std::span<const ComClass> classes) noexcept {
  const HRESULT result = Bordered(IID_NULL, L"", [&] { RegisterAll(classes); });
  if (FAILED(result)) Unregister(classes);
  return result;
}

HRESULT Unregister(std::span<const ComClass> classes) noexcept {
  return Bordered(IID_NULL, L"", [&] { UnregisterAll(classes); });
}

}  // namespace corvessa::com
