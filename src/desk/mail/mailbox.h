#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "desk/mail/mail.h"

/// Mail where other programs keep it: a file for each mail, an mbox file or a Maildir folder.
namespace corvessa::desk::mail {

/// Where a mail lies. The file may change or vanish before it is read.
struct MailPlace {
  std::filesystem::path file;
  /// In an mbox: the part of the file without its "From " line. Of a size of 0, the whole file.
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
};

/// The mails of a path in their order: those of an mbox file, of a Maildir (new and read ones) or
/// of a folder (its ordinary files, by name); any other file, and "-" for standard input, is one
/// mail. Throws Error when the path cannot be read.
std::vector<MailPlace> FindMails(const std::filesystem::path& path);

/// As the LoadMail of mail_io.h. In an mbox a line that was quoted as ">From " is as it was sent.
Mail LoadMail(const MailPlace& place);

}  // namespace corvessa::desk::mail
