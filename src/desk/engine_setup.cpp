#include "desk/engine_setup.h"

#include <string_view>

#include "desk/profile/profile.h"
#include "desk/settings_store.h"

namespace corvessa::desk {

engine::EngineConfig EngineSetup(Profile& profile) {
  return {
      .rings_folder = profile.KeysFolder(),
      .adk_file = profile.AdkFile(),
      .local_path = [&profile](std::string_view path) { return profile.Files().LocalPath(path); },
      .new_temporary_path = [&profile] { return profile.Files().FreshTemporaryPath(); }};
}

std::shared_ptr<engine::OpenPgpEngine> OpenEngine(Profile& profile) {
  auto engine = engine::CreateOpenPgpEngine(EngineSetup(profile));
  const SettingsStore settings(profile.Registry());
  engine->SetOption("lookupKeyservers", settings.Get("EngineLookupServer"));
  engine->SetOption("updateKeyservers", settings.Get("EngineUpdateServer"));
  engine->SetOption("customerID", settings.Get("EngineCustomerID"));
  return engine;
}

}  // namespace corvessa::desk
