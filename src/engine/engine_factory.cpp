#include <cstdint>
#include <string>
#include <vector>

#include "base/error.h"
#include "engine/engine.h"
#include "engine/key_rings.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

class StringVector final : public platform::IEngineStringVector {
 public:
  void Add(std::string_view text) override { items_.emplace_back(text); }
  std::int32_t Size() const override { return static_cast<std::int32_t>(items_.size()); }
  std::string Item(std::int16_t index) const override {
    if (index < 0 || index >= Size()) Raise(kInvalidArgument);
    return items_[static_cast<std::size_t>(index)];
  }

 private:
  std::vector<std::string> items_;
};

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

platform::EngineStringVectorPtr CreateStringVector() {
  return std::make_shared<StringVector>();
}

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
