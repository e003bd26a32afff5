#pragma once

#include <memory>
#include <string_view>

#include "desk/mail/gmime_handle.h"

/// GMime streams that are implemented in C++.
namespace corvessa::desk::mail {

/// What a stream reads from or writes to. An exception becomes GMime's -1, with the errno of a
/// std::system_error, else EIO.
class StreamObject {
 public:
  virtual ~StreamObject() = default;
  /// Up to `size` bytes from a position on; 0 at the end only.
  virtual std::size_t Read(gint64 position, char* buffer, std::size_t size);
  virtual void Write(std::string_view bytes);
  virtual void Flush() {}
  /// Whether reading can go on at a position other than the one after what was read last.
  virtual bool MoveTo(gint64 /*position*/) { return false; }
  /// Of all that can be read; -1 when that is not known.
  virtual gint64 Length() { return -1; }
  /// Another one that reads the same, for a part of the stream; null when there can be none.
  virtual std::unique_ptr<StreamObject> Share() { return nullptr; }
};

/// A stream from one position to another, -1 being the end.
Handle<GMimeStream> NewStream(std::unique_ptr<StreamObject> object, gint64 start = 0,
                              gint64 end = -1);

}  // namespace corvessa::desk::mail
