#include "windows/com/type_library.h"

#include <ole2.h>

#include "windows/com/errors.h"
#include "windows/com/module.h"

namespace corvessa::com {

using Microsoft::WRL::ComPtr;

ComPtr<ITypeLib> LoadTypeLibrary() {
  ComPtr<ITypeLib> library;
  Check(LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, &library));
  return library;
}

ComPtr<ITypeInfo> LoadTypeInfo(const IID& iid) {
  ComPtr<ITypeInfo> info;
  Check(LoadTypeLibrary()->GetTypeInfoOfGuid(iid, &info));
  return info;
}

}  // namespace corvessa::com
