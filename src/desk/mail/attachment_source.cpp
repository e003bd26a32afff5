#include "desk/mail/attachment_source.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <stdlib.h>
#include <unistd.h>
#include <utility>

#include "base/error.h"
#include "desk/mail/io_error.h"
#include "desk/mail/mail_file.h"
#include "posix/atomic_file.h"

namespace corvessa::desk::mail {

namespace {

// Many small attachments must not use up the process's file descriptors.
constexpr std::uintmax_t kMostBytesInMemory = 64 * 1024;

class Range final : public AttachmentSource {
 public:
  Range(GMimeStream* range, GMimeContentEncoding encoding, std::shared_ptr<const MailFile> file)
      : range_(AddReference(range)), encoding_(encoding), file_(std::move(file)) {}

  Handle<GMimeStream> Open() const override {
    if (file_) file_->CheckUnchanged();
    Handle<GMimeStream> encoded(
        g_mime_stream_substream(range_.get(), range_->bound_start, range_->bound_end));
    g_mime_stream_reset(encoded.get());
    if (encoding_ < GMIME_CONTENT_ENCODING_BASE64) return encoded;
    Handle<GMimeStream> decoded(g_mime_stream_filter_new(encoded.get()));
    const Handle<GMimeFilter> decoder(g_mime_filter_basic_new(encoding_, FALSE));
    g_mime_stream_filter_add(GMIME_STREAM_FILTER(decoded.get()), decoder.get());
    return decoded;
  }

 private:
  Handle<GMimeStream> range_;
  GMimeContentEncoding encoding_;
  std::shared_ptr<const MailFile> file_;
};

class Message final : public AttachmentSource {
 public:
  Message(GMimeMessage* message, std::shared_ptr<const MailFile> file)
      : message_(AddReference(message)), file_(std::move(file)) {}

  Handle<GMimeStream> Open() const override {
    if (file_) file_->CheckUnchanged();
    const Handle<GMimeStream> counter(g_mime_stream_null_new());
    Write(*counter);
    auto stream = ScratchStream(static_cast<std::uintmax_t>(g_mime_stream_tell(counter.get())));
    Write(*stream);
    g_mime_stream_reset(stream.get());
    return stream;
  }

 private:
  void Write(GMimeStream& stream) const {
    const auto format = CrLfFormat();
    if (g_mime_object_write_to_stream(GMIME_OBJECT(message_.get()), format.get(), &stream) < 0)
      RaiseIoError("An embedded mail", "cannot be read", errno);
  }

  Handle<GMimeMessage> message_;
  std::shared_ptr<const MailFile> file_;
};

}  // namespace

std::shared_ptr<const AttachmentSource> RangeSource(GMimeStream* range,
                                                    GMimeContentEncoding encoding,
                                                    std::shared_ptr<const MailFile> file) {
  return std::make_shared<Range>(range, encoding, std::move(file));
}

std::shared_ptr<const AttachmentSource> MessageSource(GMimeMessage* message,
                                                      std::shared_ptr<const MailFile> file) {
  return std::make_shared<Message>(message, std::move(file));
}

Handle<GMimeStream> ScratchStream(std::uintmax_t expected_size) {
  ParserOptions();
  if (expected_size <= kMostBytesInMemory) return Handle<GMimeStream>(g_mime_stream_mem_new());
  const auto folder = std::filesystem::temp_directory_path();
  std::string name = posix::TemporaryPattern(folder);
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) RaiseIoError(folder, "takes no temporary file", errno);
  unlink(name.c_str());
  return Handle<GMimeStream>(g_mime_stream_fs_new(descriptor));
}

std::string ReadAll(GMimeStream& stream) {
  std::string bytes;
  char piece[16 * 1024];
  while (g_mime_stream_eos(&stream) == 0) {
    const auto count = g_mime_stream_read(&stream, piece, sizeof piece);
    if (count < 0) RaiseIoError("A part of the mail", "cannot be read", errno);
    bytes.append(piece, static_cast<std::size_t>(count));
  }
  return bytes;
}

}  // namespace corvessa::desk::mail
