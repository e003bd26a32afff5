#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/rnp_handles.h"
#include "engine/rnp_streams.h"

namespace corvessa::engine {

/// Encrypts what the source gives for the keys: binary, AES-256, integrity-protected.
void Encrypt(rnp_ffi_t ffi, const std::vector<Key>& keys, bool compress, Source& source,
             Sink& sink);

/// Samples of a content: false when they look compressed or encrypted already, so that compressing
/// costs time and gains nothing.
bool IsWorthCompressing(std::string_view samples);

}  // namespace corvessa::engine
