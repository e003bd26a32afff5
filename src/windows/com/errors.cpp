#include "windows/com/errors.h"

#include <ole2.h>
#include <string>
#include <wrl/client.h>

#include "win32/utf16.h"
#include "windows/com/bstr.h"

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

/// Takes the error object of this thread; empty when `source` does not speak for the interface.
std::string LeftDescription(IUnknown* source, const IID& iid) {
  ComPtr<ISupportErrorInfo> support;
  if (!source || FAILED(source->QueryInterface(IID_PPV_ARGS(&support)))) return {};
  ComPtr<IErrorInfo> info;
  if (support->InterfaceSupportsErrorInfo(iid) != S_OK || GetErrorInfo(0, &info) != S_OK) return {};
  Bstr description;
  return SUCCEEDED(info->GetDescription(description.Receive()))
             ? win32::ShownUtf8({description.Get(), SysStringLen(description.Get())})
             : std::string();
}

void LeaveErrorObject(const IID& iid, const wchar_t* source, std::string_view description) {
  // An older one would be taken for ours.
  SetErrorInfo(0, nullptr);
  ComPtr<ICreateErrorInfo> maker;
  ComPtr<IErrorInfo> info;
  if (FAILED(CreateErrorInfo(&maker)) || FAILED(maker.As(&info))) return;
  const Bstr source_name = Bstr::Shown(win32::ShownUtf8(source));
  const Bstr text = Bstr::Shown(description);
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
  std::string description = LeftDescription(source, iid);
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

}  // namespace corvessa::com
