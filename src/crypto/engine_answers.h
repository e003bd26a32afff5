#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "message/attachment_node.h"
#include "platform/engine.h"

/// What the engine answers, in the terms of the add-in: texts for the user, statuses of messages
/// and attachments, vectors of addresses.
namespace corvessa {

/// The user's text for a failed operation. Call it only after a failure: 0 has a failure text too.
std::string_view EngineErrorText(std::int32_t code);

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

/// One text of an engine's vector, counted from 0. Throws Error 6 beyond what the vector counts to.
std::string TextAt(const platform::IEngineStringVector& texts, std::int32_t index);
std::vector<std::string> TextsOf(const platform::IEngineStringVector& texts);

}  // namespace corvessa
