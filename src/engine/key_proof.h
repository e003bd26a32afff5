#pragma once

#include <string>
#include <vector>

#include "engine/key_facts.h"
#include "engine/key_upkeep.h"

namespace corvessa::engine {

// A secret key that takes the place of another must be more than a claim: whoever knows somebody's
// public key can write a secret one to it, out of random numbers.

/// Has the secret packets of the pieces, all of one key, show that they are real: the passphrase
/// opens each of them (none is asked for when none is protected), and what they sign or decrypt
/// fits the public key. EngineFailure otherwise, with nothing changed.
void RequireProof(const KeyFacts& key, const std::vector<std::string>& pieces,
                  const AskPassphrase& ask);

}  // namespace corvessa::engine
