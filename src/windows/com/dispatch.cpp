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

DISPID FindMember(IDispatch& object, std::string_view name) {
  auto wide = win32::ShownUtf16(name);
  LPOLESTR names = wide.data();
  DISPID id = DISPID_UNKNOWN;
  Check(object.GetIDsOfNames(IID_NULL, &names, 1, LOCALE_SYSTEM_DEFAULT, &id));
  return id;
}

}  // namespace

Variant Dispatch::Invoke(std::string_view name, WORD kind, Arguments arguments) const {
  if (!object_) Raise(kObjectNotSet);
  std::vector<VARIANT> reversed(std::rbegin(arguments), std::rend(arguments));
  DISPPARAMS parameters = {reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
  DISPID put = DISPID_PROPERTYPUT;
  if (kind == DISPATCH_PROPERTYPUT) {
    parameters.rgdispidNamedArgs = &put;
    parameters.cNamedArgs = 1;
  }
  Variant result;
  EXCEPINFO exception = {};
  const HRESULT answer = object_->Invoke(
      FindMember(*object_.Get(), name), IID_NULL, LOCALE_SYSTEM_DEFAULT, kind, &parameters,
      kind == DISPATCH_PROPERTYPUT ? nullptr : result.Receive(), &exception, nullptr);
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

Variant Dispatch::Call(std::string_view method, Arguments arguments) const {
  return Invoke(method, DISPATCH_METHOD, arguments);
}

}  // namespace corvessa::com
