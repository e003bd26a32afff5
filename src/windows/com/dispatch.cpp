#include "windows/com/dispatch.h"

#include <string>
#include <vector>

#include "base/error.h"
#include "win32/utf16.h"
#include "windows/com/bstr.h"
#include "windows/com/errors.h"

namespace corvessa::com {
namespace {

/// Raises what an object says of its failure.
[[noreturn]] void RaiseException(EXCEPINFO& exception) {
  if (exception.pfnDeferredFillIn) exception.pfnDeferredFillIn(&exception);
  Bstr source;
  Bstr description;
  Bstr help;
  *source.Receive() = exception.bstrSource;
  *description.Receive() = exception.bstrDescription;
  *help.Receive() = exception.bstrHelpFile;
  RaiseFailed(exception.scode != 0 ? exception.scode : E_FAIL, description.Shown());
}

constexpr ULONGLONG kPatience = 5000;
constexpr DWORD kPause = 50;

/// Outlook turns calls down while it shows a dialog of its own or is called by somebody else.
template <typename Call>
HRESULT Repeated(Call call) {
  const ULONGLONG end = GetTickCount64() + kPatience;
  while (true) {
    const HRESULT answer = call();
    const bool is_busy = answer == RPC_E_CALL_REJECTED || answer == RPC_E_SERVERCALL_RETRYLATER;
    if (!is_busy || GetTickCount64() >= end) return answer;
    Sleep(kPause);
  }
}

DISPID FindMember(IDispatch& object, std::string_view name) {
  auto wide = win32::ShownUtf16(name);
  LPOLESTR names = wide.data();
  DISPID id = DISPID_UNKNOWN;
  Check(Repeated(
      [&] { return object.GetIDsOfNames(IID_NULL, &names, 1, LOCALE_SYSTEM_DEFAULT, &id); }));
  return id;
}

}  // namespace

DISPID MemberIds::Find(IDispatch& object, std::string_view name) {
  const auto known = ids_.find(name);
  if (known != ids_.end()) return known->second;
  return ids_.emplace(name, FindMember(object, name)).first->second;
}

Variant Dispatch::Invoke(std::string_view name, WORD kind, Arguments arguments) const {
  if (!object_) Raise(kObjectNotSet);
  std::vector<VARIANT> reversed(std::rbegin(arguments), std::rend(arguments));
  DISPPARAMS parameters = {reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
  DISPID put = DISPID_PROPERTYPUT;
  if (kind == DISPATCH_PROPERTYPUT) {
    parameters.rgdispidNamedArgs = &put;
    parameters.cNamedArgs = 1;
  }
  const DISPID id = ids_ ? ids_->Find(*object_.Get(), name) : FindMember(*object_.Get(), name);
  // The object may be given up by its owner while it is being called.
  const Microsoft::WRL::ComPtr<IDispatch> held = object_;
  Variant result;
  EXCEPINFO exception = {};
  const HRESULT answer = Repeated([&] {
    return held->Invoke(id, IID_NULL, LOCALE_SYSTEM_DEFAULT, kind, &parameters,
                        kind == DISPATCH_PROPERTYPUT ? nullptr : result.Receive(), &exception,
                        nullptr);
  });
  if (answer == DISP_E_EXCEPTION) RaiseException(exception);
  Check(answer);
  return result;
}

Variant Dispatch::GetProperty(std::string_view name, Arguments arguments) const {
  return Invoke(name, DISPATCH_PROPERTYGET, arguments);
}

void Dispatch::PutProperty(std::string_view name, const Variant& value) const {
  Invoke(name, DISPATCH_PROPERTYPUT, {value.Get()});
}

void Dispatch::PutProperty(std::string_view name, const Variant& argument,
                           const Variant& value) const {
  Invoke(name, DISPATCH_PROPERTYPUT, {argument.Get(), value.Get()});
}

Microsoft::WRL::ComPtr<IDispatch> Dispatch::GetObjectProperty(std::string_view name,
                                                              Arguments arguments) const {
  return Required(GetProperty(name, arguments).Object());
}

Variant Dispatch::Call(std::string_view method, Arguments arguments) const {
  return Invoke(method, DISPATCH_METHOD, arguments);
}

VARIANT Missing() {
  VARIANT missing = {};
  missing.vt = VT_ERROR;
  missing.scode = DISP_E_PARAMNOTFOUND;
  return missing;
}

Microsoft::WRL::ComPtr<IDispatch> Required(Microsoft::WRL::ComPtr<IDispatch> object) {
  if (!object) Raise(kObjectNotSet);
  return object;
}

std::string TypeNameOf(IDispatch& object) {
  Microsoft::WRL::ComPtr<ITypeInfo> info;
  Check(object.GetTypeInfo(0, LOCALE_SYSTEM_DEFAULT, &info));
  Bstr name;
  Check(info->GetDocumentation(MEMBERID_NIL, name.Receive(), nullptr, nullptr, nullptr));
  std::string text = name.Shown();
  // Its default interface has the name of the class behind an underscore.
  if (text.starts_with('_')) text.erase(0, 1);
  return text;
}

}  // namespace corvessa::com
