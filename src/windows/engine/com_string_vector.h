#pragma once

#include <wrl/client.h>

#include "idl/engine.h"
#include "platform/engine.h"

namespace corvessa::windows {

/// A string vector of the engine component.
class ComStringVector final : public platform::IEngineStringVector {
 public:
  /// Makes an empty one by its registered name. Throws Error (429) when that is unknown.
  ComStringVector();
  explicit ComStringVector(Microsoft::WRL::ComPtr<::IEngineStringVector> vector)
      : vector_(std::move(vector)) {}

  void Add(std::string_view text) override;
  std::int32_t Size() const override;
  std::string Item(std::int16_t index) const override;

  ::IEngineStringVector* Get() const { return vector_.Get(); }

 private:
  Microsoft::WRL::ComPtr<::IEngineStringVector> vector_;
};

/// A vector of the logic as the component takes it.
ComStringVector ComVectorOf(const platform::IEngineStringVector& vector);

/// A vector of the logic that a call of the component is to fill.
class FilledVector {
 public:
  explicit FilledVector(platform::IEngineStringVector& target);

  /// The component may put another vector in place of the one it gets.
  ::IEngineStringVector** Argument() { return vector_.GetAddressOf(); }
  /// After the call: what was added is in the target.
  void Finish();

 private:
  platform::IEngineStringVector& target_;
  Microsoft::WRL::ComPtr<::IEngineStringVector> vector_;
};

}  // namespace corvessa::windows
