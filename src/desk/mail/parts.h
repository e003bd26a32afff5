#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "desk/content/content.h"
#include "desk/mail/gmime_handle.h"
#include "system/files.h"

/// A mail's MIME parts: from a file to the bodies and attachments of a Mail, and back.
namespace corvessa::desk::mail {

struct Mail;

/// An open mail file, which the attachments of its mail are read from. It knows whether it was
/// changed since. A pipe is copied first.
class MailFile {
 public:
  /// "-" is the standard input. Throws Error.
  static std::shared_ptr<const MailFile> Open(const std::filesystem::path& path);

  GMimeStream* Stream() const { return stream_.get(); }
  std::uintmax_t Size() const { return stamp_.size; }
  /// Throws Error when the file was changed.
  void CheckUnchanged() const;

 private:
  MailFile(std::filesystem::path path, system::File file);

  std::filesystem::path path_;
  std::shared_ptr<const system::File> file_;
  Handle<GMimeStream> stream_;
  system::FileStamp stamp_;
};

/// Sorts a mail's parts into its bodies and attachments as a mail client shows them: the first text
/// (or the texts of the first multipart/alternative) is the body, everything else is attached,
/// nothing is left out. The parts of PGP/MIME are ordinary attachments.
void ReadParts(GMimeObject* root, const std::shared_ptr<const MailFile>& file, Mail& mail);

/// The same of a mail in memory, with Mail::signed_parts.
void ReadPartsOf(std::string_view bytes, GMimeObject* root, Mail& mail);

/// The entity at the start of a stream as a message; null when that does not begin with a header.
Handle<GMimeMessage> ParseStream(GMimeStream* stream, bool& incomplete);

/// The decoded subject in a header; nothing without that field.
std::optional<std::string> SubjectIn(GMimeMessage* message);

/// The bodies and attachments of a mail as one MIME part: text, HTML or both as alternatives,
/// pictures of the HTML beside it, all other attachments after that. The attachments are read when
/// the part is written.
Handle<GMimeObject> BuildParts(const Mail& mail);

/// How a part's bytes stand in its mail.
struct PartEncoding {
  GMimeContentEncoding transfer = GMIME_CONTENT_ENCODING_BINARY;
  /// It is text with the line ends of the mail's file; it is read with CRLF.
  bool has_native_lines = false;
};

/// A range of the mail's stream, decoded whenever it is read. Reading throws Error when `file`, if
/// any, was changed.
ContentPtr PartContent(GMimeStream* range, PartEncoding encoding,
                       std::shared_ptr<const MailFile> file);

/// Whether a part that is declared as uuencoded is: it holds a "begin" line, or starts with a line
/// as in such a file.
bool HoldsUuencodedLines(const Content& undecoded);

/// The content in base64, in lines of 76 characters that end with LF. GMime's own encoder takes
/// several times as long.
ContentPtr Base64Content(ContentPtr content);

/// A stream for GMime that reads a content, empty for null. Throws Error when the content cannot be
/// opened; when it cannot be read, the stream ends with an error.
Handle<GMimeStream> StreamOf(ContentPtr content);

}  // namespace corvessa::desk::mail
