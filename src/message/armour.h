#pragma once

#include <string_view>

namespace corvessa {

/// The text without leading blanks and leading CR LF line breaks. The view lives as long as the
/// text.
std::string_view StripLeadingBlankLines(std::string_view text);

/// Whether the text begins, after leading blanks and blank lines, with the armour of an encrypted
/// message. Looks at the first 72 characters only.
bool IsPGPMessage(std::string_view text);

/// The same for a clear-signed message.
bool IsPGPSignedMessage(std::string_view text);

/// Whether a text that is one of the two holds anything but blanks and line ends outside its first
/// block: behind it, or in the line that should be nothing but its marker. Reading the block drops
/// that.
bool HoldsMoreThanArmour(std::string_view text);

}  // namespace corvessa
