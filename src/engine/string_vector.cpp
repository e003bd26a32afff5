#include <cstdint>
#include <string>
#include <vector>

#include "base/error.h"
#include "engine/engine.h"

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

}  // namespace

platform::EngineStringVectorPtr CreateStringVector() {
  return std::make_shared<StringVector>();
}

}  // namespace corvessa::engine
