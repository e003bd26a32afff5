#include <array>
#include <shlwapi.h>

#include "windows/addin/attachment_nodes_object.h"
#include "windows/addin/connect_object.h"
#include "windows/addin/crypto_operations_object.h"
#include "windows/com/server.h"

// What CorvessaPro_OL.dll offers to the system and to Outlook.

namespace {

using namespace corvessa;

const std::array kClasses = {
    com::ComClass{__uuidof(Connect), windows::ConnectObject::kProgId,
                  L"Corvessa Professional for Outlook", com::CreateObject<windows::ConnectObject>},
    com::ComClass{__uuidof(::CryptoOperations), windows::CryptoOperationsObject::kProgId,
                  L"Corvessa Professional cryptographic operations",
                  com::CreateObject<windows::CryptoOperationsObject>},
    com::ComClass{__uuidof(::AttachmentNodes), windows::AttachmentNodesObject::kProgId,
                  L"Corvessa Professional attachments",
                  com::CreateObject<windows::AttachmentNodesObject>}};

constexpr auto kAddInKey = L"Software\\Microsoft\\Office\\Outlook\\Addins\\CorvessaPro_OL.Connect";

void Put(HKEY key, const wchar_t* name, const std::wstring& text) {
  com::Check(HRESULT_FROM_WIN32(
      RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                     static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)))));
}

void Put(HKEY key, const wchar_t* name, DWORD number) {
  com::Check(HRESULT_FROM_WIN32(RegSetValueExW(
      key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number)));
}

/// What makes Outlook create the class when it starts.
void RegisterAddIn() {
  HKEY key = nullptr;
  com::Check(HRESULT_FROM_WIN32(RegCreateKeyExW(HKEY_LOCAL_MACHINE, kAddInKey, 0, nullptr, 0,
                                                KEY_SET_VALUE, nullptr, &key, nullptr)));
  const std::unique_ptr<std::remove_pointer_t<HKEY>, decltype(&RegCloseKey)> closed(key,
                                                                                    RegCloseKey);
  // Loaded when Outlook starts.
  Put(key, L"LoadBehavior", 3);
  // It must not be loaded by Outlook's command line switches without a window.
  Put(key, L"CommandLineSafe", 0);
  Put(key, L"FriendlyName", L"Corvessa Professional for Outlook");
  Put(key, L"Description", L"Corvessa Professional for Outlook");
}

}  // namespace

STDAPI DllGetClassObject(const CLSID& clsid, const IID& iid, void** factory) {
  return com::GetClassFactory(kClasses, clsid, iid, factory);
}

STDAPI DllCanUnloadNow() {
  return com::ModuleUse::IsAny() ? S_FALSE : S_OK;
}

STDAPI DllUnregisterServer() {
  const LSTATUS status = SHDeleteKeyW(HKEY_LOCAL_MACHINE, kAddInKey);
  const HRESULT result = com::Unregister(kClasses);
  if (FAILED(result) || status == ERROR_FILE_NOT_FOUND) return result;
  return HRESULT_FROM_WIN32(status);
}

STDAPI DllRegisterServer() {
  const HRESULT result = com::Register(kClasses);
  if (FAILED(result)) return result;
  const HRESULT added = com::Bordered(IID_NULL, L"", RegisterAddIn);
  if (FAILED(added)) DllUnregisterServer();
  return added;
}
