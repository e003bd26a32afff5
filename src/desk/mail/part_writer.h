#pragma once

#include "desk/mail/gmime_handle.h"

namespace corvessa::desk::mail {

struct Mail;

/// The bodies and attachments of a mail as one MIME part: text, HTML or both as alternatives,
/// pictures of the HTML beside it, all other attachments after that. The attachments' bytes are
/// read when the part is written.
Handle<GMimeObject> BuildParts(const Mail& mail);

}  // namespace corvessa::desk::mail
