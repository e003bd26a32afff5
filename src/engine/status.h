#pragma once

#include <string>
#include <utility>

#include "platform/engine.h"

namespace corvessa::engine {

using platform::EngineStatus;
using namespace platform::engine_status;
namespace trouble = platform::engine_trouble;

/// A failure on its way to the engine's boundary, which turns it into a status and keeps the
/// message as the last error: one line that a user can act on, never with a passphrase.
struct EngineFailure {
  EngineStatus status = kUnexpected;
  std::string message;
  platform::EngineTrouble trouble = {};
};

[[noreturn]] inline void Fail(EngineStatus status, std::string message) {
  throw EngineFailure{status, std::move(message)};
}

[[noreturn]] inline void Fail(EngineStatus status, std::string message,
                              platform::EngineTrouble trouble) {
  throw EngineFailure{status, std::move(message), std::move(trouble)};
}

}  // namespace corvessa::engine
