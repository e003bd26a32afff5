#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/key_rings.h"
#include "engine/key_upkeep.h"
#include "engine/rnp_handles.h"

namespace corvessa::engine {

struct KeyFacts;

// Anybody can write a key file. What it holds must not spoil the keys that are there already: the
// library puts all packets that bear a key's number together, without asking who wrote them.

/// A key, alone in a key store of the library.
struct MergedKey {
  std::string fingerprint;
  Ffi ffi;
};

/// What the library does not understand of the data.
struct LeftOut {
  std::size_t keys = 0;
  std::size_t subkeys = 0;  ///< of the keys that it understands
};

struct MergedKeys {
  std::vector<MergedKey> keys;
  LeftOut left_out;
};

/// The keys of the data, armoured or binary, each together with what the rings hold of it.
/// EngineFailure: there is no key in the data, it is damaged, or a secret key that is to take the
/// place of what the rings hold does not prove itself.
MergedKeys MergedWithRings(const KeyRings& rings, std::string_view data, const AskPassphrase& ask);

/// EngineFailure when one of the keys lacks a proven name or a subkey that the rings hold of it:
/// another program wrote there what the library does not know, and it would be lost.
void RefuseLosses(const KeyRings& rings, const std::vector<KeyRings::NewKey>& keys);

// Anybody can also bind somebody else's subkey to a key. The library would take the one for the
// other. (A primary key is its own, whoever else claims it.)

/// The ID of a subkey of that key that belongs to another key of the rings; "" for none.
std::string ClaimedKey(const KeyRings& rings, const KeyFacts& facts);

/// Another key of the rings holds one of its subkeys, too.
bool IsContested(const KeyRings& rings, const RingEntry& entry);

/// The entry's public key without the subkeys that another key of the rings holds, too, unless they
/// have agreed to be its own: only subkeys for signing can.
std::string WithoutClaims(const KeyRings& rings, const RingEntry& entry,
                          const std::string& public_key);

}  // namespace corvessa::engine
