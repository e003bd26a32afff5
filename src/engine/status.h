#pragma once

#include <string>
#include <utility>

#include "platform/engine.h"

namespace corvessa::engine {

using platform::EngineStatus;

// The statuses that this engine answers. The add-in has a text of its own for each from -13 to 0.
inline constexpr EngineStatus kDone = 0;
inline constexpr EngineStatus kGoodSignature = 1;
inline constexpr EngineStatus kBadSignature = 0;
inline constexpr EngineStatus kBadContent = -3;
inline constexpr EngineStatus kWrongPassphrase = -4;
inline constexpr EngineStatus kInvalidKey = -6;
inline constexpr EngineStatus kKeyStoreTrouble = -7;
inline constexpr EngineStatus kIoTrouble = -8;
inline constexpr EngineStatus kBadFormat = -9;
inline constexpr EngineStatus kSignatureTrouble = -10;
inline constexpr EngineStatus kUnexpected = -11;
inline constexpr EngineStatus kNoKey = -13;
inline constexpr EngineStatus kCannotTell = -16;

/// A failure on its way to the engine's boundary, which turns it into a status and keeps the
/// message as the last error: one line that a user can act on, never with a passphrase.
struct Failure {
  EngineStatus status = kUnexpected;
  std::string message;
};

[[noreturn]] inline void Fail(EngineStatus status, std::string message) {
  throw Failure{status, std::move(message)};
}

}  // namespace corvessa::engine
