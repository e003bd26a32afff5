#pragma once

#include <ole2.h>
#include <wrl/client.h>

namespace corvessa::com {

/// Makes an object of a registered class by the name that it is known by to programs. Throws Error:
/// 429 when there is no such class, else what the class says.
void CreateByProgId(const wchar_t* prog_id, const IID& iid, void** object);

template <typename Interface>
Microsoft::WRL::ComPtr<Interface> CreateByProgId(const wchar_t* prog_id) {
  Microsoft::WRL::ComPtr<Interface> object;
  CreateByProgId(prog_id, __uuidof(Interface),
                 reinterpret_cast<void**>(object.ReleaseAndGetAddressOf()));
  return object;
}

}  // namespace corvessa::com
