#include "desk/mail/gmime_handle.h"

namespace corvessa::desk::mail {

namespace {

GMimeParserOptions* CreateOptions() {
  g_mime_init();
  auto* const options = g_mime_parser_options_new();
  const char* charsets[] = {"utf-8", "windows-1252", nullptr};
  g_mime_parser_options_set_fallback_charsets(options, charsets);
  return options;
}

}  // namespace

GMimeParserOptions* ParserOptions() {
  static GMimeParserOptions* const options = CreateOptions();
  return options;
}

}  // namespace corvessa::desk::mail
