#pragma once

#include <string_view>

namespace corvessa {

/// Whether the bytes are an OpenPGP signature, armoured or binary, and nothing else. A name can
/// say anything: what only calls itself a signature is a document, which is not to travel in clear
/// and not to be replaced. The engine, which knows OpenPGP, can only be asked whether a signature
/// fits its data file.
bool IsSignatureContent(std::string_view bytes);

/// The same for a file, which must be there. Throws what Files throws.
bool HoldsSignature(std::string_view path);

/// The same where one file must not cost the others: one that cannot be read holds none.
bool HoldsReadableSignature(std::string_view path);

}  // namespace corvessa
