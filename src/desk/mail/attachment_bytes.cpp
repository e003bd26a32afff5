#include "desk/mail/attachment_bytes.h"

#include <cerrno>
#include <utility>

#include "desk/mail/attachment_source.h"
#include "desk/mail/gmime_handle.h"
#include "desk/mail/mail_file.h"
#include "posix/file_descriptor.h"
#include "system/errors.h"

namespace corvessa::desk::mail {

AttachmentBytes::AttachmentBytes(std::shared_ptr<const AttachmentSource> source)
    : source_(std::move(source)) {}

AttachmentBytes AttachmentBytes::FromBytes(const std::string& bytes) {
  ParserOptions();
  const Handle<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size()));
  return AttachmentBytes(RangeSource(stream.get(), GMIME_CONTENT_ENCODING_BINARY, nullptr));
}

AttachmentBytes AttachmentBytes::FromFile(const std::filesystem::path& path) {
  const auto file = MailFile::Open(path);
  const auto copy = ScratchStream(file->Size());
  errno = 0;
  if (g_mime_stream_write_to_stream(file->Stream(), copy.get()) < 0) {
    system::RaiseIoError(path, "cannot be copied", posix::LastError());
  }
  return AttachmentBytes(RangeSource(copy.get(), GMIME_CONTENT_ENCODING_BINARY, nullptr));
}

void AttachmentBytes::Provide(const PieceSink& sink) const {
  if (source_) ForEachPiece(*source_->Open(), sink);
}

std::string AttachmentBytes::Bytes() const {
  return source_ ? ReadAll(*source_->Open()) : "";
}

std::uintmax_t AttachmentBytes::Size() const {
  if (!source_) return 0;
  const Handle<GMimeStream> counter(g_mime_stream_null_new());
  const auto size = g_mime_stream_write_to_stream(source_->Open().get(), counter.get());
  if (size < 0) system::RaiseIoError("A part of the mail", "cannot be read", posix::LastError());
  return static_cast<std::uintmax_t>(size);
}

}  // namespace corvessa::desk::mail
