#include <algorithm>

#include "base/text.h"
#include "desk/mail/body_text.h"

namespace corvessa::desk::mail {

namespace {

constexpr std::size_t kLongestLine = 998;

/// Passes each line, without its LF, to `accepts` until that returns false.
template <typename Accepts>
bool AllLines(std::string_view text, Accepts accepts) {
  for (;;) {
    const auto end = text.find('\n');
    if (!accepts(text.substr(0, end))) return false;
    if (end == std::string_view::npos) return true;
    text.remove_prefix(end + 1);
  }
}

/// Mailbox files and transports are known to alter such lines.
bool IsEndangered(std::string_view line) {
  return line.starts_with("From ") || line == ".";
}

bool IsSafeLine(std::string_view line) {
  if (line.size() > kLongestLine || IsEndangered(line)) return false;
  if (line.ends_with(' ') || line.ends_with('\t')) return false;
  return std::ranges::all_of(line, [](char c) { return (c >= 32 && c < 127) || c == '\t'; });
}

std::string QuotedPrintable(std::string_view text) {
  GMimeEncoding state;
  g_mime_encoding_init_encode(&state, GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE);
  std::string encoded(g_mime_encoding_outlen(&state, text.size()), '\0');
  encoded.resize(g_mime_encoding_flush(&state, text.data(), text.size(), encoded.data()));
  return encoded;
}

/// Encodes the first character of lines that the encoder leaves alone.
std::string WithEndangeredLinesEncoded(const std::string& text) {
  std::string safe;
  safe.reserve(text.size());
  AllLines(text, [&](std::string_view line) {
    if (IsEndangered(line)) {
      safe += line.front() == '.' ? "=2E" : "=46";
      line.remove_prefix(1);
    }
    safe.append(line) += '\n';
    return true;
  });
  safe.pop_back();
  return safe;
}

}  // namespace

Handle<GMimeObject> TextPart(std::string_view text, const char* subtype) {
  auto lines = WithLineEnds(text, "\n");
  auto encoding = GMIME_CONTENT_ENCODING_7BIT;
  if (!AllLines(lines, IsSafeLine)) {
    encoding = GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE;
    lines = WithEndangeredLinesEncoded(QuotedPrintable(lines));
  }
  Handle<GMimeObject> part(GMIME_OBJECT(g_mime_part_new_with_type("text", subtype)));
  // Even for armour, which is ASCII: Thunderbird decodes the decrypted text by this label.
  g_mime_object_set_content_type_parameter(part.get(), "charset", "utf-8");
  const Handle<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(lines.data(), lines.size()));
  // Content and part declare the same encoding, so GMime writes the lines unchanged.
  const Handle<GMimeDataWrapper> content(
      g_mime_data_wrapper_new_with_stream(stream.get(), encoding));
  g_mime_part_set_content_encoding(GMIME_PART(part.get()), encoding);
  g_mime_part_set_content(GMIME_PART(part.get()), content.get());
  return part;
}

}  // namespace corvessa::desk::mail
