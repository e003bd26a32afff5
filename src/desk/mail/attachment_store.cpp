#include "desk/mail/attachment_store.h"

#include <cerrno>
#include <limits>

#include "desk/mail/attachment_source.h"
#include "desk/mail/gmime_handle.h"
#include "posix/file_descriptor.h"
#include "system/errors.h"

namespace corvessa::desk::mail {

struct AttachmentStore::File {
  Handle<GMimeStream> stream = ScratchStream(std::numeric_limits<std::uintmax_t>::max());
  gint64 end = 0;
};

AttachmentStore::AttachmentStore() = default;
AttachmentStore::~AttachmentStore() = default;

AttachmentBytes AttachmentStore::Keep(const std::function<void(const PieceSink& sink)>& provide) {
  if (!file_) file_ = std::make_unique<File>();
  auto* const stream = file_->stream.get();
  const gint64 start = file_->end;
  provide([&](std::string_view piece) {
    errno = 0;
    g_mime_stream_seek(stream, file_->end, GMIME_STREAM_SEEK_SET);
    const auto size = static_cast<ssize_t>(piece.size());
    if (g_mime_stream_write(stream, piece.data(), piece.size()) != size) {
      system::RaiseIoError("A copy of an attachment", "cannot be written", posix::LastError());
    }
    file_->end += size;
  });
  if (start == file_->end) return {};
  const Handle<GMimeStream> range(g_mime_stream_substream(stream, start, file_->end));
  return AttachmentBytes(RangeSource(range.get(), GMIME_CONTENT_ENCODING_BINARY, nullptr));
}

}  // namespace corvessa::desk::mail
