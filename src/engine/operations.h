#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "engine/key_store.h"
#include "engine/rnp_handles.h"
#include "engine/rnp_streams.h"
#include "engine/status.h"

/// What is done with keys: encrypt, decrypt, sign, verify. Each works on streams, so that files of
/// any size take little memory, and on the keys that the store has unlocked or found. What fails
/// throws EngineFailure.
namespace corvessa::engine {

/// Encrypts what the source gives for the keys: binary, AES-256, integrity-protected.
void Encrypt(rnp_ffi_t ffi, const std::vector<Key>& keys, bool compress, Source& source,
             Sink& sink);

/// Samples of a content: false when they look compressed or encrypted already, so that compressing
/// costs time and gains nothing.
bool IsWorthCompressing(std::string_view samples);

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

/// Clear-signs a text, its line endings made CRLF, with the unlocked key of the address, or with
/// the one unlocked last when the address is empty. `version` is the Version line of the
/// signature's armour, none when empty. EngineFailure -13: no such key is unlocked and usable.
std::string ClearSign(KeyStore& keys, std::string_view address, std::string_view text,
                      std::string_view version);

/// An armoured detached signature over the source's bytes, with the key unlocked last.
std::string SignDetached(KeyStore& keys, Source& source, std::string_view version);

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
