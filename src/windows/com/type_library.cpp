#include "windows/com/type_library.h"

#include <ole2.h>

#include "win32/module.h"
#include "windows/com/errors.h"

namespace corvessa::com {

using Microsoft::WRL::ComPtr;

ComPtr<ITypeLib> LoadTypeLibrary() {
  ComPtr<ITypeLib> library;
  Check(LoadTypeLibEx(win32::ModulePath().c_str(), REGKIND_NONE, &library));
  return library;
}

ComPtr<ITypeInfo> LoadTypeInfo(const IID& iid) {
  ComPtr<ITypeInfo> info;
  Check(LoadTypeLibrary()->GetTypeInfoOfGuid(iid, &info));
  return info;
}

}  // namespace corvessa::com
