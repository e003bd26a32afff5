#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "base/error.h"
#include "desk/mail/parts.h"
#include "system/errors.h"

namespace corvessa::desk::mail {

namespace {

int Descriptor(const system::File& file) {
  return static_cast<int>(file.Native());
}

// A stream over the file, in GObject's terms. GMime's own reads 4 KiB at a time, each with a seek.

struct MailStream {
  GMimeStream parent;
  std::shared_ptr<const system::File>* file;
  std::string* piece;
  gint64 start_of_piece;
  gboolean is_at_end;
};

constexpr std::size_t kPieceSize = 64 * 1024;

MailStream* Self(GMimeStream* stream) {
  return reinterpret_cast<MailStream*>(stream);
}

/// What the file holds at the stream's position.
std::string_view PieceAt(MailStream& stream) {
  const auto offset = static_cast<std::size_t>(stream.parent.position - stream.start_of_piece);
  if (stream.parent.position >= stream.start_of_piece && offset < stream.piece->size()) {
    return std::string_view(*stream.piece).substr(offset);
  }
  stream.piece->resize(kPieceSize);
  stream.start_of_piece = stream.parent.position;
  stream.piece->resize((*stream.file)
                           ->ReadAt(static_cast<std::uint64_t>(stream.start_of_piece),
                                    stream.piece->data(), kPieceSize));
  return *stream.piece;
}

// No exception may pass through GMime.
ssize_t ReadMail(GMimeStream* stream, char* buffer, size_t size) {
  try {
    if (stream->bound_end >= 0) {
      const auto left = std::max<gint64>(stream->bound_end - stream->position, 0);
      size = std::min(size, static_cast<size_t>(left));
    }
    const std::size_t got = size == 0 ? 0 : PieceAt(*Self(stream)).copy(buffer, size);
    Self(stream)->is_at_end = got == 0;
    stream->position += static_cast<gint64>(got);
    return static_cast<ssize_t>(got);
  } catch (...) {
    errno = EIO;
    return -1;
  }
}

gint64 LengthOf(GMimeStream* stream) {
  try {
    const auto end = stream->bound_end >= 0
                         ? stream->bound_end
                         : static_cast<gint64>((*Self(stream)->file)->Stamp().size);
    return end - stream->bound_start;
  } catch (...) {
    return -1;
  }
}

gint64 Seek(GMimeStream* stream, gint64 offset, GMimeSeekWhence whence) {
  gint64 position = offset;
  if (whence == GMIME_STREAM_SEEK_CUR) position += stream->position;
  if (whence == GMIME_STREAM_SEEK_END) position += stream->bound_start + LengthOf(stream);
  if (position < stream->bound_start || (stream->bound_end >= 0 && position > stream->bound_end)) {
    errno = EINVAL;
    return -1;
  }
  Self(stream)->is_at_end = FALSE;
  return stream->position = position;
}

GType MailStreamType();

GMimeStream* NewStream(std::shared_ptr<const system::File> file, gint64 start, gint64 end) {
  auto* const stream = GMIME_STREAM(g_object_new(MailStreamType(), nullptr));
  g_mime_stream_construct(stream, start, end);
  Self(stream)->file = new std::shared_ptr(std::move(file));
  Self(stream)->piece = new std::string;
  return stream;
}

void FinalizeStream(GObject* object) {
  auto* const stream = reinterpret_cast<MailStream*>(object);
  delete stream->piece;
  delete stream->file;
  G_OBJECT_CLASS(g_type_class_peek_parent(G_OBJECT_GET_CLASS(object)))->finalize(object);
}

void InitialiseClass(gpointer klass, gpointer /*data*/) {
  G_OBJECT_CLASS(klass)->finalize = FinalizeStream;
  auto* const stream = static_cast<GMimeStreamClass*>(klass);
  stream->read = ReadMail;
  stream->close = [](GMimeStream*) { return 0; };
  stream->eos = [](GMimeStream* self) -> gboolean {
    return self->bound_end >= 0 ? self->position >= self->bound_end : Self(self)->is_at_end;
  };
  stream->reset = [](GMimeStream* self) {
    return Seek(self, self->bound_start, GMIME_STREAM_SEEK_SET) < 0 ? -1 : 0;
  };
  stream->seek = Seek;
  stream->tell = [](GMimeStream* self) { return self->position; };
  stream->length = LengthOf;
  stream->substream = [](GMimeStream* self, gint64 start, gint64 end) {
    return NewStream(*Self(self)->file, start, end);
  };
}

GType MailStreamType() {
  static const GType type = g_type_register_static_simple(
      GMIME_TYPE_STREAM, "CorvessaMailStream", sizeof(GMimeStreamClass), InitialiseClass,
      sizeof(MailStream), nullptr, static_cast<GTypeFlags>(0));
  return type;
}

/// A duplicate, so that closing it leaves the standard input open.
system::File StandardInput() {
  const int descriptor = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
  if (descriptor < 0) system::Throw({errno, std::generic_category()});
  return system::File(descriptor);
}

/// Copies a pipe, because GMime must be able to seek.
system::File Seekable(const std::filesystem::path& path, system::File file) {
  struct stat status {};
  fstat(Descriptor(file), &status);
  if (S_ISREG(status.st_mode)) return file;
  if (!S_ISFIFO(status.st_mode) && !S_ISSOCK(status.st_mode)) {
    Raise(kPathFileAccess, path.string() + " is not a file.");
  }
  auto copy = system::File::CreateNameless(std::filesystem::temp_directory_path());
  copy.WriteRestOf(file);
  lseek(Descriptor(copy), 0, SEEK_SET);
  return copy;
}

}  // namespace

std::shared_ptr<const MailFile> MailFile::Open(const std::filesystem::path& path) {
  ParserOptions();
  try {
    auto file = path == "-" ? StandardInput() : system::File::OpenStream(path);
    return std::shared_ptr<const MailFile>(new MailFile(path, Seekable(path, std::move(file))));
  } catch (const std::system_error& error) {
    system::RaiseIoError(path, "cannot be read", error.code());
  }
}

MailFile::MailFile(std::filesystem::path path, system::File file)
    : path_(std::move(path)),
      file_(std::make_shared<system::File>(std::move(file))),
      stream_(NewStream(file_, lseek(Descriptor(*file_), 0, SEEK_CUR), -1)),
      stamp_(file_->Stamp()) {}

void MailFile::CheckUnchanged() const {
  if (file_->Stamp() == stamp_) return;
  Raise(kPathFileAccess, path_.string() + " was changed while it was open. Open it again.");
}

}  // namespace corvessa::desk::mail
