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

/// The keys of the data, armoured or binary, each together with what the rings hold of it. Failure:
/// there is no key in the data, one claims a key of another, or a secret key that is to take the
/// place of what the rings hold does not prove itself.
std::vector<MergedKey> MergedWithRings(const KeyRings& rings, std::string_view data,
                                       const AskPassphrase& ask);

/// Failure when one of the keys has fewer names or subkeys than the rings hold of it: another
/// program wrote there what the library does not know, and it would be lost.
void RefuseLosses(const KeyRings& rings, const std::vector<KeyRings::NewKey>& keys);

/// The ID of a subkey of that key that belongs to another key of the rings; "" for none. The
/// library would take the one for the other. (A primary key is its own, whoever else claims it.)
std::string ClaimedKey(const KeyRings& rings, const KeyFacts& facts);

}  // namespace corvessa::engine
