#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// The exact bytes of a signed MIME part, which a MIME library that rewrites parts does not give.
namespace corvessa {

/// The first part between lines that are "--" and the boundary, with CRLF line ends: what the
/// signature in the second part is made over. The line break before a boundary belongs to the
/// boundary. Nothing unless two such lines begin parts. The part must be read from these bytes, so
/// that what is shown is what is verified, whatever else the mail may look like.
std::optional<std::string> FirstPartBetween(std::string_view mail, std::string_view boundary);

/// Signed parts of one mail that are looked at, and how deep they nest; no mail program writes
/// more, and each costs a pass over the mail.
inline constexpr std::size_t kMaximumSignedParts = 16;
inline constexpr std::size_t kMaximumSignedDepth = 4;

}  // namespace corvessa
