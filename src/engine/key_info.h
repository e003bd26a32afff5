#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "engine/engine.h"
#include "engine/key_rings.h"
#include "engine/rnp_handles.h"

/// What the user is shown of a key. Finding it out means checking every signature of the key, which
/// takes a third of a millisecond, seconds for a large ring. So it is found out once, when the key
/// comes into a ring, and kept as text in the index. Nothing is encrypted or verified by it; it
/// only answers whether there is a key.
namespace corvessa::engine {

KeyInfo InfoOf(rnp_ffi_t ffi, rnp_key_handle_t primary);

/// The info as a part of an index line, with times in place of what time changes. Empty when it
/// cannot be kept, because the key claims to be made in the future. A half that goes into the
/// public ring says nothing of the `secret` one.
std::string FormatInfo(rnp_ffi_t ffi, rnp_key_handle_t primary, bool secret);

/// The info of an entry as of now; nothing when the index holds none.
std::optional<KeyInfo> ReadInfo(const RingEntry& entry);

/// Adds what another half of the same key tells.
void AddHalf(const KeyInfo& half, KeyInfo& info);

}  // namespace corvessa::engine
