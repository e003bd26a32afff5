#include "desk/engine_setup.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string_view>

#include "commands/user_data.h"
#include "desk/profile/profile.h"
#include "desk/terminal/signals.h"

namespace corvessa::desk {
namespace {

// Ordinary mail takes a hundredth of this.
constexpr std::chrono::seconds kUsualWorkLimit{30};
constexpr std::uint64_t kSlowest = std::uint64_t{1} << 20;  // bytes a second

}  // namespace

engine::EngineConfig EngineSetup(Profile& profile) {
  return {
      .rings_folder = profile.KeysFolder(),
      .adk_file = profile.AdkFile(),
      .local_path = [&profile](std::string_view path) { return profile.Files().LocalPath(path); },
      .new_temporary_path = [&profile] { return profile.Files().FreshTemporaryPath(); },
      .watch_decryption =
          [](std::uint64_t size) {
            const auto more = std::chrono::seconds(size / kSlowest);
            return std::make_shared<WorkLimit>(kUsualWorkLimit + more);
          }};
}

std::shared_ptr<engine::OpenPgpEngine> OpenEngine(Profile& profile) {
  auto engine = engine::CreateOpenPgpEngine(EngineSetup(profile));
  ConfigureKeyServers(*engine, profile.Registry());
  return engine;
}

}  // namespace corvessa::desk
