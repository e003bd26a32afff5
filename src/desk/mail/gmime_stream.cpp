#include "desk/mail/gmime_stream.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace corvessa::desk::mail {

namespace {

struct ObjectStream {
  GMimeStream parent;
  StreamObject* object;
  gboolean is_at_end;
};

ObjectStream& Self(GMimeStream* stream) {
  return *reinterpret_cast<ObjectStream*>(stream);
}

// No exception may pass through GMime.
template <typename Work>
auto OrFailure(Work work) -> decltype(work()) {
  try {
    return work();
  } catch (const std::system_error& error) {
    errno = error.code().value();
  } catch (...) {
    errno = EIO;
  }
  return -1;
}

ssize_t Read(GMimeStream* stream, char* buffer, size_t size) {
  return OrFailure([&]() -> ssize_t {
    if (stream->bound_end >= 0) {
      const auto left = std::max<gint64>(stream->bound_end - stream->position, 0);
      size = std::min(size, static_cast<size_t>(left));
    }
    const std::size_t got =
        size == 0 ? 0 : Self(stream).object->Read(stream->position, buffer, size);
    Self(stream).is_at_end = got == 0;
    stream->position += static_cast<gint64>(got);
    return static_cast<ssize_t>(got);
  });
}

ssize_t Write(GMimeStream* stream, const char* bytes, size_t size) {
  return OrFailure([&] {
    Self(stream).object->Write({bytes, size});
    stream->position += static_cast<gint64>(size);
    return static_cast<ssize_t>(size);
  });
}

int Flush(GMimeStream* stream) {
  return OrFailure([&] {
    Self(stream).object->Flush();
    return 0;
  });
}

gboolean IsAtEnd(GMimeStream* stream) {
  return stream->bound_end >= 0 ? stream->position >= stream->bound_end : Self(stream).is_at_end;
}

gint64 Length(GMimeStream* stream) {
  return OrFailure([&] {
    const auto end = stream->bound_end >= 0 ? stream->bound_end : Self(stream).object->Length();
    return end < 0 ? end : end - stream->bound_start;
  });
}

gint64 Seek(GMimeStream* stream, gint64 offset, GMimeSeekWhence whence) {
  return OrFailure([&]() -> gint64 {
    gint64 position = offset;
    if (whence == GMIME_STREAM_SEEK_CUR) position += stream->position;
    if (whence == GMIME_STREAM_SEEK_END) position += stream->bound_start + Length(stream);
    if (position < stream->bound_start ||
        (stream->bound_end >= 0 && position > stream->bound_end) ||
        (position != stream->position && !Self(stream).object->MoveTo(position))) {
      errno = EINVAL;
      return -1;
    }
    Self(stream).is_at_end = FALSE;
    return stream->position = position;
  });
}

int Reset(GMimeStream* stream) {
  return Seek(stream, stream->bound_start, GMIME_STREAM_SEEK_SET) < 0 ? -1 : 0;
}

GMimeStream* SubStream(GMimeStream* stream, gint64 start, gint64 end) {
  auto shared = Self(stream).object->Share();
  return shared ? NewStream(std::move(shared), start, end).release() : nullptr;
}

void Finalize(GObject* object) {
  delete reinterpret_cast<ObjectStream*>(object)->object;
  G_OBJECT_CLASS(g_type_class_peek_parent(G_OBJECT_GET_CLASS(object)))->finalize(object);
}

void InitialiseClass(gpointer klass, gpointer /*data*/) {
  G_OBJECT_CLASS(klass)->finalize = Finalize;
  auto* const stream = static_cast<GMimeStreamClass*>(klass);
  stream->read = Read;
  stream->write = Write;
  stream->flush = Flush;
  stream->close = [](GMimeStream*) { return 0; };
  stream->eos = IsAtEnd;
  stream->reset = Reset;
  stream->seek = Seek;
  stream->tell = [](GMimeStream* self) { return self->position; };
  stream->length = Length;
  stream->substream = SubStream;
}

GType StreamType() {
  static const GType type = g_type_register_static_simple(
      GMIME_TYPE_STREAM, "CorvessaStream", sizeof(GMimeStreamClass), InitialiseClass,
      sizeof(ObjectStream), nullptr, static_cast<GTypeFlags>(0));
  return type;
}

}  // namespace

std::size_t StreamObject::Read(gint64 /*position*/, char* /*buffer*/, std::size_t /*size*/) {
  throw std::system_error(EBADF, std::generic_category());
}

void StreamObject::Write(std::string_view /*bytes*/) {
  throw std::system_error(EBADF, std::generic_category());
}

Handle<GMimeStream> NewStream(std::unique_ptr<StreamObject> object, gint64 start, gint64 end) {
  ParserOptions();
  auto* const stream = GMIME_STREAM(g_object_new(StreamType(), nullptr));
  g_mime_stream_construct(stream, start, end);
  Self(stream).object = object.release();
  return Handle<GMimeStream>(stream);
}

}  // namespace corvessa::desk::mail
