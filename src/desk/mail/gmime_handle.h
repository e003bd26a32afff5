#pragma once

#include <gmime/gmime.h>
#include <memory>
#include <string_view>

/// GMime's objects in C++, and the settings that every use of GMime shares.
namespace corvessa::desk::mail {

struct GObjectUnref {
  void operator()(void* object) const { g_object_unref(object); }
};

/// One reference to a GMime object.
template <typename T>
using Handle = std::unique_ptr<T, GObjectUnref>;

template <typename T>
Handle<T> AddReference(T* object) {
  g_object_ref(object);
  return Handle<T>(object);
}

struct GFree {
  void operator()(void* memory) const { g_free(memory); }
  void operator()(GMimeParserOptions* options) const { g_mime_parser_options_free(options); }
  void operator()(GMimeFormatOptions* options) const { g_mime_format_options_free(options); }
};

/// A string that GLib allocated.
using GText = std::unique_ptr<char, GFree>;

/// The options of every parse: unlabelled 8-bit text is UTF-8, else windows-1252. The first call
/// initialises GMime.
GMimeParserOptions* ParserOptions();

/// A copy that reports parse errors to `warn`, with `data`.
std::unique_ptr<GMimeParserOptions, GFree> ParserOptionsThatWarn(GMimeParserWarningFunc warn,
                                                                 void* data);

/// The options for writing: lines end with CRLF.
std::unique_ptr<GMimeFormatOptions, GFree> CrLfFormat();

/// Compares names of header fields, charsets and the like without regard to case.
bool SameName(std::string_view a, std::string_view b);

}  // namespace corvessa::desk::mail
