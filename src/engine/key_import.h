#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/secret_string.h"
#include "engine/engine.h"
#include "engine/key_facts.h"
#include "engine/key_rings.h"
#include "engine/rnp_handles.h"

/// How keys come into the rings: made here, or imported and merged with what the rings hold.
///
/// Anyone can write a key file. What it holds must not spoil the keys that are there already: the
/// library puts all packets with a key's number together without asking who wrote them. What fails
/// throws EngineFailure, and the rings stay as they are.
namespace corvessa::engine {

/// Makes a key in the store: ed25519 to certify and sign, a cv25519 subkey to encrypt, both
/// protected by the passphrase, with that many bytes hashed for each guess (the library would
/// measure the machine for every key). Returns the primary key.
Key GenerateKeyPair(rnp_ffi_t ffi, const std::string& user_id, const SecretString& passphrase,
                    std::uint32_t work);

/// A key, alone in a key store of the library.
struct MergedKey {
  std::string fingerprint;
  Ffi ffi;
};

/// What the library does not understand of the data.
struct LeftOut {
  std::size_t keys = 0;
  std::size_t subkeys = 0;  ///< of the keys that it understands
  /// What such keys are of, where that is why: "version 6", "algorithm 99", "20000 bits".
  std::set<std::string> kinds;
};

/// "Keys of version 6 are not supported."; empty when nothing is known.
std::string KindTrouble(const LeftOut& left_out);

struct MergedKeys {
  std::vector<MergedKey> keys;
  LeftOut left_out;
};

/// The keys of the data, armoured or binary, each together with what the rings hold of it.
/// EngineFailure: there is no key in the data, it is damaged, or a secret key that is to take the
/// place of what the rings hold does not prove itself.
MergedKeys MergedWithRings(const KeyRings& rings, std::string_view data, const AskPassphrase& ask);

/// What a key server has of a key that the rings hold, to be loaded on top of `held`: no names but
/// those, and of these only what the key's own signatures prove.
std::string WithoutNewNames(std::string_view looked_up, std::string_view held);

/// EngineFailure when one of the keys lacks a proven name or a subkey that the rings hold of it:
/// another program wrote there what the library does not know, and it would be lost.
void RefuseLosses(const KeyRings& rings, const std::vector<KeyRings::NewKey>& keys);

// Anybody can also bind somebody else's subkey to a key. The library would take the one for the
// other. (A primary key is nobody else's subkey, whatever claims it.)

/// The ID of a subkey of that key that belongs to another key of the rings; "" for none.
std::string ClaimedKey(const KeyRings& rings, const KeyFacts& facts);

/// Another key of the rings holds one of its subkeys, too.
bool IsContested(const KeyRings& rings, const RingEntry& entry);

/// The entry's public key without the subkeys that another key of the rings holds, too, unless they
/// have agreed to be its own: only subkeys for signing can.
std::string WithoutClaims(const KeyRings& rings, const RingEntry& entry,
                          const std::string& public_key);

// A secret key that takes the place of another must be more than a claim: whoever knows somebody's
// public key can write a secret one to it, out of random numbers.

/// Has the secret packets of the pieces, all of one key, show that they are real: the passphrase
/// opens each of them (none is asked for when none is protected), and what they sign or decrypt
/// fits the public key. EngineFailure otherwise, with nothing changed.
void RequireProof(const KeyFacts& key, const std::vector<std::string>& pieces,
                  const AskPassphrase& ask);

}  // namespace corvessa::engine
