#pragma once

#include <cstdint>

#include "message/attachment_node.h"
#include "platform/engine.h"

namespace corvessa {

/// The sign status for a status of the engine's verification, which counts the other way round.
constexpr std::int32_t SignStatusOf(platform::EngineStatus status) {
  if (status == platform::engine_status::kGoodSignature) return sign_status::kGood;
  if (status == platform::engine_status::kBadSignature) return sign_status::kBad;
  return status;
}

/// Whether a verification's status shows that there was a signature, good or not.
constexpr bool ProvesSignature(platform::EngineStatus status) {
  namespace engine_status = platform::engine_status;
  return status == engine_status::kGoodSignature || status == engine_status::kBadSignature ||
         status == engine_status::kNoKey || status == engine_status::kInvalidKey ||
         status == engine_status::kSignatureTrouble;
}

/// The decrypt status for a status of the engine's decryption.
constexpr std::int32_t DecryptStatusOf(platform::EngineStatus status) {
  return status == platform::engine_status::kBadFormat ? decrypt_status::kNotEncrypted : status;
}

/// What has this decrypt status can be read, whether or not it was encrypted.
constexpr bool IsReadable(std::int32_t status) {
  return status == decrypt_status::kDone || status == decrypt_status::kNotEncrypted;
}

}  // namespace corvessa
