#pragma once

#include <cstdint>

#include "crypto/engine_error_text.h"
#include "message/attachment_node.h"

namespace corvessa {

/// The engine counts the other way round than the statuses of messages and attachments.
inline constexpr std::int32_t kEngineGoodSignature = 1;
inline constexpr std::int32_t kEngineBadSignature = 0;

/// The sign status for a status of the engine's verification.
constexpr std::int32_t SignStatusOf(std::int32_t engine_status) {
  if (engine_status == kEngineGoodSignature) return kGoodSignature;
  if (engine_status == kEngineBadSignature) return kBadSignature;
  return engine_status;
}

/// The decrypt status for a status of the engine's decryption.
constexpr std::int32_t DecryptStatusOf(std::int32_t engine_status) {
  return engine_status == kStatusBadFormat ? kNotEncrypted : engine_status;
}

/// What has this decrypt status can be read, whether or not it was encrypted.
constexpr bool IsReadable(std::int32_t decrypt_status) {
  return decrypt_status == kDecrypted || decrypt_status == kNotEncrypted;
}

}  // namespace corvessa
