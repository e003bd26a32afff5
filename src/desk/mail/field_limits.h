#pragma once

#include <gmime/gmime.h>

namespace corvessa::desk::mail {

enum class FieldFault { kNone, kNul, kRunaway };

/// Whether a header field of the mail, also of its parts and of mails in it, would keep GMime busy
/// for minutes or exhaust its stack: groups nested in thousands, thousands of entries without an
/// address, thousands of encoded words that do not end, or tens of thousands of fields in the
/// mail's own header. No mail program writes such a field. Otherwise whether the mail's own header
/// holds a NUL, behind which GMime sees nothing, not even a recipient. Reads the stream once and
/// leaves it at its start.
FieldFault FindFieldFault(GMimeStream* stream);

}  // namespace corvessa::desk::mail
