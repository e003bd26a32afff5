#pragma once

#include <exception>
#include <new>
#include <ole2.h>
#include <string>
#include <utility>

#include "base/error.h"

/// Failures on their way through COM: an Error travels as HRESULT and error object, so that the
/// other side raises the same Error again.
namespace corvessa::com {

/// Raises the Error that a failed HRESULT stands for. The description is that of the error object
/// if `source` says that it leaves one for the interface, else the system's.
void Check(HRESULT result, IUnknown* source = nullptr, const IID& iid = IID_NULL);

/// The same for a failure with a description of its own; the system's when it is empty.
[[noreturn]] void RaiseFailed(HRESULT result, std::string description);

/// The HRESULT for an Error: the classic numbers travel in the facility that is meant for them.
HRESULT HresultOf(const Error& error) noexcept;

/// Leaves an error object for the interface and returns the HRESULT of the failure that is being
/// handled. Call it in a catch block only.
HRESULT ReportFailure(const IID& iid, const wchar_t* source) noexcept;

/// The border that no exception crosses: runs a method of an interface, whose failure is reported
/// in the name of `source`, the ProgID of its class.
template <typename Method>
HRESULT Bordered(const IID& iid, const wchar_t* source, Method method) noexcept {
  try {
    method();
    return S_OK;
  } catch (...) {
    return ReportFailure(iid, source);
  }
}

}  // namespace corvessa::com
