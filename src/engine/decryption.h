#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "engine/key_store.h"
#include "engine/rnp_streams.h"

namespace corvessa::engine {

/// An encrypted message that can be read more than once.
struct EncryptedMessage {
  /// Its first bytes, at least up to its data packet when it is a message.
  std::string_view start;
  /// Opens it with `replacement` in place of as many of its first bytes.
  std::function<std::unique_ptr<Source>(std::string_view replacement)> open;
};

/// Where the plain bytes go: `restart` drops what came so far, before another key is tried.
struct PlainOutput {
  Sink& sink;
  std::function<void()> restart;
};

/// Decrypts with the unlocked keys, of one address only unless it is empty. What it wrote counts
/// only when it returns. EngineFailure -13: no unlocked key fits; -3: the message is damaged, not
/// encrypted, without integrity protection or made to take minutes of trying keys.
void Decrypt(KeyStore& keys, std::string_view address, const EncryptedMessage& message,
             const PlainOutput& output);

}  // namespace corvessa::engine
