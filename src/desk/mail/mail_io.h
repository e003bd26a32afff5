#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "desk/mail/mail.h"

/// Mail files: reading, writing and the file names of attachments.
namespace corvessa::desk::mail {

enum class MailPurpose {
  /// Kept by the user: Bcc is written, a missing Date or Message-ID stays missing.
  kDraft,
  /// Travels to others: Bcc is left out, Date and Message-ID are there.
  kTravel,
};

/// Reads a mail file, or the standard input for "-"; the attachments stay in it and are read on
/// demand, so it is kept open.
///
/// Raises Error with one line that names the file: kFileNotFound, kPermissionDenied,
/// kPathFileAccess (a folder, a device, a failing disk), kInvalidArgument when it is empty or not a
/// mail message, that is when no header with at least one of the fields that every mail has some of
/// (From, To, Subject, Date…) begins it, or when a header is made to keep the reader busy (groups
/// nested in thousands, megabytes of fields and the like) or holds a NUL. Everything else loads as
/// far as it goes: unknown or wrong charsets, undecodable bytes (U+FFFD), broken encodings, missing
/// ends (Mail::incomplete), any number of attachments.
Mail LoadMail(const std::filesystem::path& path);

/// The same for a mail in memory, which is copied.
Mail ParseMail(const std::string& bytes);

/// A MIME part in memory: whatever begins with a header, also one that no mail has, or a text. With
/// what PGP/MIME signed. Never throws for what it reads.
struct Entity {
  Mail content;
  /// Its header names a content type.
  bool is_mime = false;
  std::optional<std::string> subject;
};
Entity ParseEntity(std::string_view bytes);

/// Gives a mail its Date (now) and Message-ID (random, in the sender's domain) where they are
/// missing.
void StampMail(Mail& mail);

/// Writes a mail file that only its owner can read: whole, safe on the disk, or not at all, and
/// then what was there before is untouched.
///
/// Lines end with CRLF and are 7-bit. A body of short pure ASCII lines, such as armour, stands as
/// it is; any other body is quoted-printable; attachments are base64. Values cannot break out of
/// their field: control characters in them become blanks. Fields that Mail has members for, MIME's
/// own and those that name blind copies are skipped among Mail::fields.
///
/// Raises Error: kInvalidArgument for an address or a field name that no header can hold, else what
/// the disk said.
void WriteMail(const Mail& mail, const std::filesystem::path& path, MailPurpose purpose);

/// The same in memory.
std::string FormatMail(const Mail& mail, MailPurpose purpose);

/// A received name made safe for a file in a folder: its last component, with control characters
/// replaced, cut to 200 bytes with its extension kept; a name of dots alone becomes underscores.
/// Empty when nothing usable is left. The name of a signature (X.sig) is the safe name of X with
/// ".sig", up to 20 bytes longer.
std::string SafeFileName(std::string_view name);

/// "ATT00003.txt": the name of a nameless attachment by its position (from 1) and content type.
std::string GenericFileName(std::size_t place, std::string_view content_type);

}  // namespace corvessa::desk::mail
