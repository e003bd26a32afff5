#include <algorithm>

#include "windows/com/errors.h"
#include "windows/com/module_use.h"
#include "windows/com/server.h"
#include "windows/com/single_interface.h"

namespace __gnu_cxx {
/// The standard library's own; it has no header.
void __freeres();
}  // namespace __gnu_cxx

namespace corvessa::com {
namespace {

/// The standard library keeps memory for exceptions when there is no other, and each time that a
/// module with a library of its own is loaded it would take more.
const struct ExceptionMemory {
  ~ExceptionMemory() { __gnu_cxx::__freeres(); }
} kExceptionMemory;

class ClassFactory final : public SingleInterface<ClassFactory, IClassFactory> {
 public:
  explicit ClassFactory(decltype(ComClass::create) create) : create_(create) {}

  static bool Answers(const IID& iid) { return iid == IID_IClassFactory; }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, const IID& iid,
                                           void** object) noexcept override {
    if (!object) return E_POINTER;
    *object = nullptr;
    return outer ? CLASS_E_NOAGGREGATION : create_(iid, object);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) noexcept override {
    lock ? ModuleUse::Lock() : ModuleUse::Unlock();
    return S_OK;
  }

 private:
  decltype(ComClass::create) create_;
};

}  // namespace

HRESULT GetClassFactory(std::span<const ComClass> classes, const CLSID& clsid, const IID& iid,
                        void** factory) noexcept {
  if (!factory) return E_POINTER;
  *factory = nullptr;
  const auto found = std::ranges::find_if(
      classes, [&](const ComClass& candidate) { return candidate.clsid == clsid; });
  if (found == classes.end()) return CLASS_E_CLASSNOTAVAILABLE;
  auto* const made = new (std::nothrow) ClassFactory(found->create);
  if (!made) return E_OUTOFMEMORY;
  const HRESULT result = made->QueryInterface(iid, factory);
  made->Release();
  return result;
}

}  // namespace corvessa::com
