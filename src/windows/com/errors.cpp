#include "windows/com/errors.h"

#include <ole2.h>
#include <string>
#include <wrl/client.h>

#include "win32/utf16.h"
#include "windows/com/bstr.h"
#include "windows/com/create.h"

namespace corvessa::com {
namespace {

using Microsoft::WRL::ComPtr;

std::string SystemDescription(HRESULT result) {
  wchar_t text[512];
  const DWORD size = FormatMessageW(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
      nullptr, static_cast<DWORD>(result), 0, text, std::size(text), nullptr);
  std::string description = win32::ShownUtf8({text, size});
  while (description.ends_with(' ')) description.pop_back();
  return description.empty() ? std::string(ErrorDescription(result)) : description;
}

/// Of the error object that this thread was left.
std::string LeftDescription() {
  ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, &info) != S_OK) return {};
  Bstr description;
  info->GetDescription(description.Receive());
  return description.Shown();
}

/// Only what supports error objects has left the one that is there.
bool SupportsErrors(IUnknown* source, const IID& iid) {
  ComPtr<ISupportErrorInfo> support;
  return source && SUCCEEDED(source->QueryInterface(IID_PPV_ARGS(&support))) &&
         support->InterfaceSupportsErrorInfo(iid) == S_OK;
}

void LeaveErrorObject(const IID& iid, const wchar_t* source, std::string_view description) {
  // An older one would be taken for ours.
  SetErrorInfo(0, nullptr);
  ComPtr<ICreateErrorInfo> maker;
  ComPtr<IErrorInfo> info;
  if (FAILED(CreateErrorInfo(&maker)) || FAILED(maker.As(&info))) return;
  const Bstr source_name = Bstr::ForMessage(win32::ShownUtf8(source));
  const Bstr text = Bstr::ForMessage(description);
  maker->SetGUID(iid);
  maker->SetSource(source_name.Get());
  maker->SetDescription(text.Get());
  SetErrorInfo(0, info.Get());
}

HRESULT Report(HRESULT result, const IID& iid, const wchar_t* source,
               std::string_view description) noexcept {
  try {
    LeaveErrorObject(iid, source, description);
  } catch (const std::bad_alloc&) {
    // The HRESULT alone must do.
  }
  return result;
}

}  // namespace

void Check(HRESULT result, IUnknown* source, const IID& iid) {
  if (SUCCEEDED(result)) return;
  RaiseFailed(result, SupportsErrors(source, iid) ? LeftDescription() : std::string());
}

void RaiseFailed(HRESULT result, std::string description) {
  if (description.empty()) description = SystemDescription(result);
  const bool is_classic = HRESULT_FACILITY(result) == FACILITY_CONTROL;
  Raise(is_classic ? HRESULT_CODE(result) : result, std::move(description));
}

HRESULT HresultOf(const Error& error) noexcept {
  if (error.number < 0) return error.number;
  if (error.number == 0 || error.number > 0xFFFF) return E_FAIL;
  return MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, static_cast<unsigned long>(error.number));
}

HRESULT ReportFailure(const IID& iid, const wchar_t* source) noexcept {
  try {
    throw;
  } catch (const Error& error) {
    return Report(HresultOf(error), iid, source, error.description);
  } catch (const std::bad_alloc&) {
    return Report(E_OUTOFMEMORY, iid, source, "Out of memory.");
  } catch (const std::exception& failure) {
    return Report(E_FAIL, iid, source, failure.what());
  } catch (...) {
    return Report(E_UNEXPECTED, iid, source, "An unknown error occurred.");
  }
}

void CreateByProgId(const wchar_t* prog_id, const IID& iid, void** object) {
  CLSID clsid;
  if (FAILED(CLSIDFromProgID(prog_id, &clsid))) Raise(kCannotCreateComponent);
  SetErrorInfo(0, nullptr);
  const HRESULT result = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, iid, object);
  const bool has_no_class = result == REGDB_E_CLASSNOTREG || result == CO_E_DLLNOTFOUND;
  if (has_no_class) Raise(kCannotCreateComponent);
  if (FAILED(result)) RaiseFailed(result, LeftDescription());
}

}  // namespace corvessa::com
