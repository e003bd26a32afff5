#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corvessa::desk::mail {

/// A received name made fit for a file in a folder: its last component, control characters
/// replaced, cut to 200 bytes with its extension kept, dots alone made underscores. Empty when
/// nothing usable is left. The name of a signature (X.sig) is that of its data file and ".sig",
/// which may make it 20 bytes longer.
std::string SafeFileName(std::string_view name);

/// "ATT00003.txt": the name of a nameless attachment by its place (from 1) and content type.
std::string GenericFileName(std::size_t place, std::string_view content_type);

}  // namespace corvessa::desk::mail
