#pragma once

#include <string>
#include <string_view>

#include "desk/mail/gmime_handle.h"

/// The text of bodies: from a mail's bytes to UTF-8, and back to a part.
namespace corvessa::desk::mail {

/// A body's bytes as UTF-8. The label is used when it is known and fits every byte. Otherwise bytes
/// that are UTF-8 are taken for that, mostly-UTF-8 ones keep what is readable, and the rest is read
/// by the label or as windows-1252 (which is also what Latin-1 labels mean in practice). What
/// cannot be decoded becomes U+FFFD. A byte order mark at the start is dropped.
std::string BodyToUtf8(std::string_view bytes, const std::string& label);

/// Every byte that is not UTF-8 is replaced by U+FFFD.
std::string ValidUtf8(std::string_view text);

/// All line ends (CRLF, LF, CR, and CRs before an LF) as the one given.
std::string WithLineEnds(std::string_view text, std::string_view line_end);

/// A text part. Text that every system passes on unchanged (short lines of printable ASCII that no
/// mailbox format, transport or trimming of blanks touches, such as OpenPGP armour) stands as it
/// is. Any other text is quoted-printable, which restores exactly the same bytes.
Handle<GMimeObject> TextPart(std::string_view text, const char* subtype);

}  // namespace corvessa::desk::mail
