#pragma once

#include <string>

#include "base/secret_string.h"
#include "engine/rnp_handles.h"

namespace corvessa::engine {

/// Makes a key in the store: ed25519 to certify and sign, a cv25519 subkey to encrypt, both
/// protected by the passphrase. Returns the primary key.
Key GenerateKeyPair(rnp_ffi_t ffi, const std::string& user_id, const SecretString& passphrase);

}  // namespace corvessa::engine
