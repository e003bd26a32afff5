#include "engine/profile.h"
#include "windows/com/errors.h"
#include "windows/engine/com_engine.h"
#include "windows/engine/registered_engine.h"
#include "windows_engine/engine_object.h"

// Has the engine's suite run over the engine's COM object, through the add-in's client.

namespace corvessa::windows {
namespace {

using Microsoft::WRL::ComPtr;

engine::Opened OpenOverCom(engine::EngineConfig config) {
  // For the vectors that the client makes by their registered name.
  static const RegisteredEngine registered;
  ComPtr<INimbraEncryptionEngine> component;
  com::Check(com::CreateObject<EngineObject>(
      __uuidof(INimbraEncryptionEngine), reinterpret_cast<void**>(component.GetAddressOf()),
      [config] { return engine::CreateOpenPgpEngine(config); }));
  ComPtr<INimbraKeyUpkeep> keys;
  com::Check(component.As(&keys));
  return {std::make_shared<ComEngine>(component), KeysOver(keys)};
}

const bool kIsSet = (engine::open_engine = OpenOverCom, engine::is_over_com = true);

}  // namespace
}  // namespace corvessa::windows
