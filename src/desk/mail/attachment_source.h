#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "desk/mail/gmime_handle.h"

namespace corvessa::desk::mail {

class MailFile;

/// Where an attachment's bytes come from.
class AttachmentSource {
 public:
  virtual ~AttachmentSource() = default;
  /// A stream of the decoded bytes, at its start, independent of every other one. Raises Error.
  virtual Handle<GMimeStream> Open() const = 0;
};

/// A range of a seekable stream in a transfer encoding; the file, when there is one, must be
/// unchanged.
std::shared_ptr<const AttachmentSource> RangeSource(GMimeStream* range,
                                                    GMimeContentEncoding encoding,
                                                    std::shared_ptr<const MailFile> file);

/// An embedded mail with CRLF line ends; what it consists of lies in the file.
std::shared_ptr<const AttachmentSource> MessageSource(GMimeMessage* message,
                                                      std::shared_ptr<const MailFile> file);

/// An empty stream for about this many bytes: in memory when they are few, else a nameless
/// temporary file that vanishes with it. Raises Error.
Handle<GMimeStream> ScratchStream(std::uintmax_t expected_size);

std::string ReadAll(GMimeStream& stream);

}  // namespace corvessa::desk::mail
