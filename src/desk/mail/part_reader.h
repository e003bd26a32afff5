#pragma once

#include <memory>

#include "desk/mail/gmime_handle.h"

namespace corvessa::desk::mail {

class MailFile;
struct Mail;

/// Sorts a mail's parts into its bodies and attachments as a mail client shows them: the first text
/// (or the texts of the first multipart/alternative) is the body, everything else is attached,
/// nothing is left out. The parts of PGP/MIME are ordinary attachments.
void ReadParts(GMimeObject* root, const std::shared_ptr<const MailFile>& file, Mail& mail);

}  // namespace corvessa::desk::mail
