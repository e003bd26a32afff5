#pragma once

#include <ole2.h>

#include "windows/com/module_use.h"

namespace corvessa::com {

/// IUnknown for a class of objects with one interface besides it:
///
///   class Sink final : public SingleInterface<Sink, IDispatch> { bool Answers(const IID& iid) … };
///
/// `Answers` names the interface's IIDs. A new object has one reference, its maker's; it destroys
/// itself with the last one, and keeps the DLL in memory until then.
template <typename Class, typename Interface>
class SingleInterface : public Interface {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(const IID& iid, void** object) noexcept final {
    if (!object) return E_POINTER;
    const bool is_ours = iid == IID_IUnknown || static_cast<Class*>(this)->Answers(iid);
    *object = is_ours ? static_cast<Interface*>(this) : nullptr;
    if (!is_ours) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() noexcept final {
    return static_cast<ULONG>(InterlockedIncrement(&references_));
  }
  ULONG STDMETHODCALLTYPE Release() noexcept final {
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) delete static_cast<Class*>(this);
    return static_cast<ULONG>(left);
  }

 protected:
  SingleInterface() = default;
  SingleInterface(const SingleInterface&) = delete;
  SingleInterface& operator=(const SingleInterface&) = delete;
  ~SingleInterface() = default;

 private:
  LONG references_ = 1;
  ModuleUse use_;
};

}  // namespace corvessa::com
