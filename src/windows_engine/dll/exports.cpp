#include <array>

#include "windows/com/server.h"
#include "windows_engine/engine_object.h"
#include "windows_engine/engine_setup.h"
#include "windows_engine/string_vector.h"

// What corvessa_engine.dll offers to the system.

namespace {

using namespace corvessa;

HRESULT CreateEngineObject(const IID& iid, void** object) noexcept {
  return com::CreateObject<windows::EngineObject>(iid, object, windows::OpenUserEngine);
}

HRESULT CreateStringVector(const IID& iid, void** object) noexcept {
  return com::CreateObject<windows::StringVector>(iid, object);
}

const std::array kClasses = {
    com::ComClass{__uuidof(NimbraEncryptionEngine), windows::EngineObject::kProgId,
                  L"NimbraEncryptionEngine", CreateEngineObject},
    com::ComClass{__uuidof(EngineStringVector), windows::StringVector::kProgId,
                  L"NimbraEncryptionEngine string vector", CreateStringVector}};

}  // namespace

STDAPI DllGetClassObject(const CLSID& clsid, const IID& iid, void** factory) {
  return com::GetClassFactory(kClasses, clsid, iid, factory);
}

STDAPI DllCanUnloadNow() {
  return com::ModuleUse::IsAny() ? S_FALSE : S_OK;
}

STDAPI DllRegisterServer() {
  return com::Register(kClasses);
}

STDAPI DllUnregisterServer() {
  return com::Unregister(kClasses);
}
