#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/key_store.h"
#include "engine/rnp_handles.h"
#include "engine/rnp_streams.h"
#include "engine/status.h"
#include "engine/verification.h"

/// What is done with keys: encrypt, decrypt, sign. Each works on streams, so that files of
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
  /// Opens it with `replacement` in place of its first `replaced` bytes.
  std::function<std::unique_ptr<Source>(std::string_view replacement, std::size_t replaced)> open;
};

/// Where the plain bytes go: `restart` drops what came so far, before another key is tried.
struct PlainOutput {
  Sink& sink;
  std::function<void()> restart;
};

/// What opens messages.
struct Openers {
  /// Only the unlocked keys of this address, unless it is empty.
  std::string address;
  /// For messages that are encrypted with a passphrase.
  const std::vector<SecretString>& passphrases;
  const FindSigner& find_signer;
};

/// Decrypts, and checks the signatures inside. What it wrote counts only when it returns.
/// EngineFailure -13: nothing of what opens messages fits; -4: the passphrase is wrong; -5: it is
/// encrypted in a way unknown here; -3: the message is damaged, not encrypted, without integrity
/// protection or made to take minutes of trying keys.
std::optional<InnerSignatures> Decrypt(KeyStore& keys, const Openers& openers,
                                       const EncryptedMessage& message, const PlainOutput& output);

/// Reads a message that is signed and not encrypted. EngineFailure -9: it is none; -3: it is
/// damaged.
InnerSignatures ReadSignedMessage(KeyStore& keys, const FindSigner& find_signer, Source& message,
                                  Sink& output);

/// Clear-signs a text, its line endings made CRLF, with the unlocked key of the address, or with
/// the one unlocked last when the address is empty. `version` is the Version line of the
/// signature's armour, none when empty. EngineFailure -13: no such key is unlocked and usable.
std::string ClearSign(KeyStore& keys, std::string_view address, std::string_view text,
                      std::string_view version);

/// An armoured detached signature over the source's bytes, with the key unlocked last.
std::string SignDetached(KeyStore& keys, Source& source, std::string_view version);

}  // namespace corvessa::engine
