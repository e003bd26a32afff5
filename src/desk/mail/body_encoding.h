#pragma once

#include <string>
#include <string_view>

#include "desk/mail/gmime_handle.h"

namespace corvessa::desk::mail {

/// A text part: as it stands when every system passes it on unchanged (short lines of printable
/// ASCII that no mailbox format, transport or trimming of blanks touches; OpenPGP armour is such
/// text), else quoted-printable, which gives back exactly the same bytes.
Handle<GMimeObject> TextPart(std::string_view text, const char* subtype);

}  // namespace corvessa::desk::mail
