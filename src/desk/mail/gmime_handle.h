#pragma once

#include <gmime/gmime.h>
#include <memory>

namespace corvessa::desk::mail {

struct GObjectUnref {
  void operator()(void* object) const { g_object_unref(object); }
};

/// One reference to a GMime object.
template <class T>
using Handle = std::unique_ptr<T, GObjectUnref>;

template <class T>
Handle<T> AddReference(T* object) {
  g_object_ref(object);
  return Handle<T>(object);
}

struct GFree {
  void operator()(void* memory) const { g_free(memory); }
};

/// A string that GLib allocated.
using GText = std::unique_ptr<char, GFree>;

/// The options of every parse, GMime being set up by the first call: unlabelled 8-bit text is UTF-8
/// or else what Windows clients send.
GMimeParserOptions* ParserOptions();

}  // namespace corvessa::desk::mail
