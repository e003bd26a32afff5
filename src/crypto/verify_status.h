#pragma once

#include <cstdint>

#include "message/attachment_node.h"
#include "platform/engine.h"

namespace corvessa {

/// The sign status for a status of the engine's verification, which counts the other way round.
constexpr std::int32_t SignStatusOf(std::int32_t engine_status) {
  if (engine_status == platform::engine_status::kGoodSignature) return kGoodSignature;
  if (engine_status == platform::engine_status::kBadSignature) return kBadSignature;
  return engine_status;
}

/// The decrypt status for a status of the engine's decryption.
constexpr std::int32_t DecryptStatusOf(std::int32_t engine_status) {
  return engine_status == platform::engine_status::kBadFormat ? kNotEncrypted : engine_status;
}

/// What has this decrypt status can be read, whether or not it was encrypted.
constexpr bool IsReadable(std::int32_t decrypt_status) {
  return decrypt_status == kDecrypted || decrypt_status == kNotEncrypted;
}

}  // namespace corvessa
