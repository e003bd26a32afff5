#pragma once

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/key_store.h"
#include "engine/rnp_handles.h"
#include "engine/rnp_streams.h"
#include "engine/status.h"

/// Checking signatures. What fails throws EngineFailure.
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
  platform::EngineTrouble trouble = {};
};

/// Tries to get the key with that ID from elsewhere, into the store.
using FindSigner = std::function<void(const std::string& key_id)>;

/// Gives the library the signers' keys while it lives. The library asks for them after reading
/// everything: so the content is read once whether the key is at hand or not.
class KeyProvider {
 public:
  KeyProvider(KeyStore& keys, const FindSigner& find_signer);
  ~KeyProvider();
  KeyProvider(const KeyProvider&) = delete;
  KeyProvider& operator=(const KeyProvider&) = delete;

  /// Throws what looking for a key threw, if anything.
  void Rethrow() const;

 private:
  static void Provide(rnp_ffi_t, void* self, const char* kind, const char* identifier, bool secret);

  KeyStore& keys_;
  const FindSigner& find_signer_;
  std::exception_ptr thrown_;
};

/// Checks binary detached signatures over what the source gives. Good is: at least one signature is
/// good, made by a usable key, and none is bad. `text_only` accepts only signatures over text, as
/// clear-signing makes them.
Verdict Verify(KeyStore& keys, const FindSigner& find_signer, Source& content,
               std::string_view signature, bool text_only);

/// The signatures inside a message, over exactly what came out of it.
struct InnerSignatures {
  Verdict verdict;
  std::string packets;  ///< binary, without those that the library cannot tell
  std::string hash;     ///< the name of the first one's
};

/// Those of an operation that has read a message; nothing when it was not signed.
std::optional<InnerSignatures> InnerSignaturesOf(const KeyStore& keys, rnp_op_verify_t op);

}  // namespace corvessa::engine
