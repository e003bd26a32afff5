#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/key_store.h"
#include "engine/rnp_streams.h"
#include "engine/status.h"

namespace corvessa::engine {

/// What a check of signatures found.
struct Verdict {
  /// 1 good, 0 bad, else an error, with its message.
  EngineStatus status = kSignatureTrouble;
  std::string message;
  /// The addresses of the good signers, the key ID of one without; of the bad ones when the status
  /// is 0.
  std::vector<std::string> signers;
  /// The key IDs of the signers whose keys could not be had.
  std::vector<std::string> unknown_signers;
};

/// Tries to get the key with that ID from elsewhere, into the store.
using FindSigner = std::function<void(const std::string& key_id)>;

/// Checks binary detached signatures over what the source gives. Good is: at least one signature is
/// good, made by a usable key, and none is bad. `text_only` accepts only signatures over text, as
/// clear-signing makes them.
Verdict Verify(KeyStore& keys, const FindSigner& find_signer, Source& content,
               std::string_view signature, bool text_only);

}  // namespace corvessa::engine
