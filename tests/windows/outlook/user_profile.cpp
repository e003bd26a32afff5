#include "windows/outlook/user_profile.h"

#include <algorithm>

#include "base/error.h"
#include "idl/engine.h"
#include "settings/registry_values.h"
#include "settings/settings.h"
#include "win32/utf16.h"
#include "windows/com/bstr.h"
#include "windows/com/create.h"
#include "windows/com/errors.h"

namespace corvessa::testing {

Json Set(const Json& command) {
  const std::string name = String(command, "name");
  const std::string value = String(command, "value");
  const auto settings = StoredSettings();
  const auto found = std::ranges::find_if(settings, [&](auto& one) { return one.name == name; });
  if (found == settings.end()) Raise(kInvalidArgument, "no such setting");
  const HKEY root =
      found->root == SettingRoot::kLocalMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
  const std::wstring key = win32::ShownUtf16(found->key);
  const std::wstring text = win32::ShownUtf16(value);
  const auto number = static_cast<DWORD>(std::strtol(value.c_str(), nullptr, 10));
  const bool is_text = found->kind == SettingKind::kText;
  const LSTATUS status = RegSetKeyValueW(
      root, key.c_str(), win32::ShownUtf16(name).c_str(), is_text ? REG_SZ : REG_DWORD,
      is_text ? static_cast<const void*>(text.c_str()) : &number,
      is_text ? static_cast<DWORD>(2 * text.size() + 2) : sizeof number);
  com::Check(HRESULT_FROM_WIN32(status));
  return Json::object();
}

Json Account(const Json& command) {
  const std::wstring key =
      win32::ShownUtf16(std::string(kAccountsKey) + "\\" + String(command, "address"));
  const DWORD sign = command.value("sign", false) ? 1 : 0;
  com::Check(HRESULT_FROM_WIN32(
      RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), L"Sign", REG_DWORD, &sign, sizeof sign)));
  return Json::object();
}

Json Key(const Json& command) {
  using com::Bstr;
  const auto upkeep = com::CreateByProgId<INimbraKeyUpkeep>(L"NimbraEncryptionEngine.Engine");
  LONG status = 0;
  Bstr text;
  const std::string action = String(command, "action");
  if (action == "generate") {
    com::Check(upkeep->GenerateKey(
        Bstr(String(command, "name")).Get(), Bstr(String(command, "address")).Get(),
        Bstr(String(command, "passphrase")).Get(), text.Receive(), &status));
  } else if (action == "export") {
    com::Check(
        upkeep->ExportPublicKeys(Bstr(String(command, "address")).Get(), text.Receive(), &status));
  } else if (action == "import") {
    const std::string keys = String(command, "keys");
    SAFEARRAY* const bytes = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(keys.size()));
    std::ranges::copy(keys, static_cast<char*>(bytes->pvData));
    Microsoft::WRL::ComPtr<IEngineStringVector> fingerprints;
    const HRESULT result = upkeep->ImportKeys(bytes, nullptr, fingerprints.GetAddressOf(), &status);
    SafeArrayDestroy(bytes);
    com::Check(result);
  } else {
    Raise(kInvalidArgument, "unknown action");
  }
  return {{"status", status}, {"text", text.Text()}};
}

}  // namespace corvessa::testing
