#pragma once

#include <string>
#include <string_view>

#include "engine/key_store.h"
#include "engine/rnp_streams.h"

namespace corvessa::engine {

/// Clear-signs a text, its line endings made CRLF, with the unlocked key of the address, or with
/// the one unlocked last when the address is empty. `version` is the Version line of the
/// signature's armour, none when empty. EngineFailure -13: no such key is unlocked and usable.
std::string ClearSign(KeyStore& keys, std::string_view address, std::string_view text,
                      std::string_view version);

/// An armoured detached signature over the source's bytes, with the key unlocked last.
std::string SignDetached(KeyStore& keys, Source& source, std::string_view version);

}  // namespace corvessa::engine
