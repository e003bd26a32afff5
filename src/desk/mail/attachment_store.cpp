#include "desk/mail/attachment_store.h"

#include <cerrno>
#include <limits>

#include "desk/mail/attachment_source.h"
#include "desk/mail/io_error.h"

namespace corvessa::desk::mail {

AttachmentData AttachmentStore::Keep(const std::function<void(const PieceSink& sink)>& provide) {
  if (!file_) file_ = ScratchStream(std::numeric_limits<std::uintmax_t>::max());
  const gint64 start = end_;
  provide([&](std::string_view piece) {
    errno = 0;
    g_mime_stream_seek(file_.get(), end_, GMIME_STREAM_SEEK_SET);
    const auto size = static_cast<ssize_t>(piece.size());
    if (g_mime_stream_write(file_.get(), piece.data(), piece.size()) != size)
      RaiseIoError("A copy of an attachment", "cannot be written", errno);
    end_ += size;
  });
  if (start == end_) return {};
  const Handle<GMimeStream> range(g_mime_stream_substream(file_.get(), start, end_));
  return AttachmentData(RangeSource(range.get(), GMIME_CONTENT_ENCODING_BINARY, nullptr));
}

}  // namespace corvessa::desk::mail
