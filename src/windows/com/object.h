#pragma once

#include <array>
#include <ole2.h>

#include "windows/com/errors.h"
#include "windows/com/module_use.h"
#include "windows/com/type_library.h"

/// What the classes of COM objects are made of:
///
///   class Vector final : public Object<Vector, Dual<IEngineStringVector>> { … };
///
/// A class has a constant `kProgId`, the source of its failures, and no virtual destructor: an
/// object destroys itself with its last reference.
namespace corvessa::com {

/// A dual interface whose IDispatch half follows the type library.
template <typename Interface>
class Dual : public Interface {
 public:
  using ComInterface = Interface;

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept final {
    if (!count) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) noexcept final {
    if (!info) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    return WithTypeInfo([&](ITypeInfo& own) { return (*info = &own)->AddRef(), S_OK; });
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(const IID& reserved, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) noexcept final {
    if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    return WithTypeInfo([&](ITypeInfo& own) { return own.GetIDsOfNames(names, count, ids); });
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, const IID& reserved, LCID, WORD flags,
                                   DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                                   UINT* wrong_argument) noexcept final {
    if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    return WithTypeInfo([&](ITypeInfo& own) {
      return own.Invoke(static_cast<Interface*>(this), id, flags, arguments, result, exception,
                        wrong_argument);
    });
  }

 private:
  template <typename Use>
  HRESULT WithTypeInfo(Use use) noexcept {
    HRESULT result = E_UNEXPECTED;
    const HRESULT loaded = Bordered(__uuidof(Interface), L"", [&] {
      if (!type_info_) type_info_ = LoadTypeInfo(__uuidof(Interface));
      result = use(*type_info_.Get());
    });
    return FAILED(loaded) ? loaded : result;
  }

  Microsoft::WRL::ComPtr<ITypeInfo> type_info_;
};

/// IUnknown and ISupportErrorInfo for a class of objects with these dual interfaces. The first one
/// also answers for IUnknown and IDispatch.
template <typename Class, typename First, typename... Others>
class Object : public First, public Others..., public ISupportErrorInfo {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(const IID& iid, void** object) noexcept final {
    if (!object) return E_POINTER;
    *object = Find(iid);
    if (!*object) return E_NOINTERFACE;
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
  HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(const IID& iid) noexcept final {
    return IsDual(iid) ? S_OK : S_FALSE;
  }

 protected:
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  ~Object() = default;

  /// See com::Bordered.
  template <typename Interface, typename Method>
  static HRESULT Bordered(Method method) noexcept {
    return com::Bordered(__uuidof(Interface), Class::kProgId, std::move(method));
  }

 private:
  static bool IsDual(const IID& iid) {
    return iid == __uuidof(typename First::ComInterface) ||
           ((iid == __uuidof(typename Others::ComInterface)) || ...);
  }
  void* Find(const IID& iid) {
    if (iid == IID_IUnknown || iid == IID_IDispatch) return static_cast<First*>(this);
    if (iid == IID_ISupportErrorInfo) return static_cast<ISupportErrorInfo*>(this);
    void* found = nullptr;
    const auto match = [&]<typename Part>(Part* part) {
      if (iid == __uuidof(typename Part::ComInterface)) found = part;
    };
    match(static_cast<First*>(this));
    (match(static_cast<Others*>(this)), ...);
    return found;
  }

  LONG references_ = 0;
  [[no_unique_address]] ModuleUse use_;
};

/// Makes an object, for ComClass::create.
template <typename Class, typename... Arguments>
HRESULT CreateObject(const IID& iid, void** object, Arguments&&... arguments) noexcept {
  return Bordered(iid, Class::kProgId, [&] {
    const Microsoft::WRL::ComPtr<Class> made(new Class(std::forward<Arguments>(arguments)...));
    Check(made->QueryInterface(iid, object));
  });
}

}  // namespace corvessa::com
