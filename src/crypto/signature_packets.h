#pragma once

#include <string_view>

namespace corvessa {

/// Whether the bytes are whole OpenPGP signatures of documents, one after the other, and nothing
/// else: down to the last number in them, so that no file looks like one by chance.
bool AreSignaturePackets(std::string_view bytes);

}  // namespace corvessa
