#pragma once

#include <filesystem>
#include <string>

#include "desk/mail/mail.h"

namespace corvessa::desk {

class Profile;

/// Hands the mail to the delivery command of the profile, which reads it from its standard input
/// and gets "-i -f SENDER -- RECIPIENT…" as its last arguments, the blind-copy recipients among
/// them, whom the mail does not name. Throws CommandError if that fails; the mail is kept in the
/// profile's folder "unsent" then, which the error names.
void DeliverMail(Profile& profile, const mail::Mail& mail);

/// Keeps the mail as it travelled in a folder, in "cur" if that is a Maildir. The folder is made if
/// it is missing. Returns the file. Throws Error if it cannot be written.
std::filesystem::path KeepCopy(const mail::Mail& mail, const std::filesystem::path& folder);

}  // namespace corvessa::desk
