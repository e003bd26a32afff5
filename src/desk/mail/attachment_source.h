#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

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

/// The same text with CRLF at the end of every line.
std::shared_ptr<const AttachmentSource> WithCrLf(std::shared_ptr<const AttachmentSource> text);

/// An empty stream for about this many bytes: in memory when they are few, else a nameless
/// temporary file that vanishes with it. Raises Error.
Handle<GMimeStream> ScratchStream(std::uintmax_t expected_size);

/// Gives the rest of the stream piece by piece. Raises Error.
void ForEachPiece(GMimeStream& stream, const std::function<void(std::string_view piece)>& sink);

std::string ReadAll(GMimeStream& stream);
/// This many bytes or some more, or all.
std::string ReadUpTo(std::size_t most, GMimeStream& stream);

}  // namespace corvessa::desk::mail
