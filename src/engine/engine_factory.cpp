#include <cstdint>
#include <string>
#include <vector>

#include "base/error.h"
#include "engine/engine.h"
#include "engine/key_rings.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

class Factory final : public platform::EngineFactory {
 public:
  explicit Factory(EngineConfig config) : config_(std::move(config)) {}
  platform::EnginePtr CreateEngine() override { return CreateOpenPgpEngine(config_); }
  platform::EngineStringVectorPtr CreateStringVector() override {
    return engine::CreateStringVector();
  }

 private:
  EngineConfig config_;
};

}  // namespace

std::string FindKeyTrouble(const std::filesystem::path& rings_folder) {
  try {
    KeyRings rings(rings_folder);
    rings.Open();
    return rings.Trouble();
  } catch (const EngineFailure& failure) {
    return failure.message;
  }
}

std::unique_ptr<platform::EngineFactory> CreateEngineFactory(EngineConfig config) {
  return std::make_unique<Factory>(std::move(config));
}

}  // namespace corvessa::engine
