#pragma once

#include <ole2.h>
#include <span>
#include <string>

/// What a DLL of COM classes offers to the system.
namespace corvessa::com {

/// A class that this module makes objects of.
struct ComClass {
  CLSID clsid;
  const wchar_t* prog_id;
  const wchar_t* description;
  /// Makes an object and asks it for the interface; see CreateObject.
  HRESULT (*create)(const IID& iid, void** object) noexcept;
};

/// DllGetClassObject.
HRESULT GetClassFactory(std::span<const ComClass> classes, const CLSID& clsid, const IID& iid,
                        void** factory) noexcept;

/// DllRegisterServer: for every user of this machine, with the module's type library. Leaves
/// nothing behind when it fails.
HRESULT Register(std::span<const ComClass> classes) noexcept;

/// DllUnregisterServer. What is not there is not missed.
HRESULT Unregister(std::span<const ComClass> classes) noexcept;

}  // namespace corvessa::com
