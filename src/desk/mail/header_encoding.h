#pragma once

#include <string>
#include <string_view>

namespace corvessa::desk::mail {

struct Mailbox;

// Header text for the wire: 7-bit, one line, with blanks where it may be folded.

/// Plain ASCII as it is; anything else, and what a reader would mistake or could not be folded, as
/// encoded words.
std::string EncodeText(std::string_view text);

/// Raises kInvalidArgument for an address that would not be read back as this one address.
std::string EncodeMailbox(const Mailbox& mailbox);

/// "<id>"; empty for an identifier that holds nothing or is too long for a line.
std::string EncodeIdentifier(std::string_view identifier);

/// A whole field with its line end, folded at single blanks to 76 characters where that is
/// possible.
std::string FoldedField(std::string_view name, std::string_view value);

}  // namespace corvessa::desk::mail
