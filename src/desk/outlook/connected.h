#pragma once

#include <string_view>
#include <utility>

#include "desk/outlook/world.h"

namespace corvessa::desk {

/// What all objects have that can be gone while somebody still holds them.
class Connected {
 public:
  bool IsThere() const { return there_; }

 protected:
  explicit Connected(WorldPtr world) : world_(std::move(world)) {}
  ~Connected() = default;

  void Disconnect() { there_ = false; }
  /// Begins a call of the platform interfaces; it fails when the object is gone.
  void Called(std::string_view call) const {
    world_->Called(call);
    if (!there_) RaiseDisconnected();
  }

  const WorldPtr world_;

 private:
  bool there_ = true;
};

}  // namespace corvessa::desk
