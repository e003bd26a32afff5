#pragma once

#include <ole2.h>
#include <wrl/client.h>

/// The type library that this module carries as its first resource of the type TYPELIB.
namespace corvessa::com {

Microsoft::WRL::ComPtr<ITypeLib> LoadTypeLibrary();

/// What it says about an interface; read once.
Microsoft::WRL::ComPtr<ITypeInfo> LoadTypeInfo(const IID& iid);

}  // namespace corvessa::com
