#include "desk/mail/gmime_handle.h"

// Defined in builds with a leak checker.
extern "C" [[gnu::weak]] void __lsan_disable();
extern "C" [[gnu::weak]] void __lsan_enable();

namespace corvessa::desk::mail {

namespace {

/// GMime never frees its registrations; replacing one would be reported as a leak.
void Initialise() {
  if (__lsan_disable) __lsan_disable();
  g_mime_init();
  if (__lsan_enable) __lsan_enable();
}

GMimeParserOptions* CreateOptions() {
  Initialise();
  // Embedded mails are kept byte by byte like any other file, because GMime drops the lines it does
  // not understand when it writes a parsed mail.
  for (const auto* const subtype : {"rfc822", "rfc2822", "global", "news"}) {
    g_mime_object_register_type("message", subtype, GMIME_TYPE_PART);
  }
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

std::unique_ptr<GMimeParserOptions, GFree> ParserOptionsThatWarn(GMimeParserWarningFunc warn,
                                                                 void* data) {
  std::unique_ptr<GMimeParserOptions, GFree> options(g_mime_parser_options_clone(ParserOptions()));
  g_mime_parser_options_set_warning_callback(options.get(), warn, data);
  return options;
}

std::unique_ptr<GMimeFormatOptions, GFree> CrLfFormat() {
  std::unique_ptr<GMimeFormatOptions, GFree> options(g_mime_format_options_new());
  g_mime_format_options_set_newline_format(options.get(), GMIME_NEWLINE_FORMAT_DOS);
  return options;
}

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && g_ascii_strncasecmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace corvessa::desk::mail
