#include <algorithm>
#include <cerrno>
#include <optional>

#include "base/text.h"
#include "desk/mail/body_text.h"
#include "desk/mail/gmime_handle.h"

namespace corvessa::desk::mail {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// An open conversion to UTF-8; not open when the character set is unknown.
class Converter {
 public:
  explicit Converter(const char* charset) : handle_(g_iconv_open("UTF-8", charset)) {}
  ~Converter() {
    if (IsOpen()) g_iconv_close(handle_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  // GLib reports failure as -1 cast to a pointer.
  bool IsOpen() const { return reinterpret_cast<std::intptr_t>(handle_) != -1; }

  /// Nothing if a byte cannot be decoded and no replacement is given.
  std::optional<std::string> Convert(std::string_view bytes,
                                     std::optional<std::string_view> replacement) {
    std::string text;
    auto* in = const_cast<char*>(bytes.data());
    gsize left = bytes.size();
    while (!Step(&in, &left, text)) {
      if (!replacement) return std::nullopt;
      text += *replacement;
      ++in;
      --left;
    }
    Step(nullptr, nullptr, text);
    return text;
  }

 private:
  /// False when it stops at a byte that it cannot decode.
  bool Step(char** in, gsize* left, std::string& text) {
    char piece[4096];
    for (;;) {
      auto* out = piece;
      gsize room = sizeof piece;
      const auto result = g_iconv(handle_, in, left, &out, &room);
      const int error_code = errno;
      text.append(piece, static_cast<std::size_t>(out - piece));
      if (result != static_cast<gsize>(-1)) return true;
      if (error_code != E2BIG) return !in || *left == 0;
    }
  }

  GIConv handle_;
};

bool IsUtf8(std::string_view bytes) {
  return g_utf8_validate_len(bytes.data(), bytes.size(), nullptr) != 0 ||
         // GLib stops at a NUL, which text may hold.
         (bytes.find('\0') != std::string_view::npos && ValidUtf8(bytes) == bytes);
}

bool HoldsUtf8Sequence(std::string_view bytes) {
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    if ((bytes[at] & 0x80) == 0) continue;
    const auto code =
        g_utf8_get_char_validated(bytes.data() + at, static_cast<gssize>(bytes.size() - at));
    if (code < 0x110000) return true;
  }
  return false;
}

std::string FromWindows(std::string_view bytes) {
  return Converter("CP1252").Convert(bytes, kReplacement).value_or("");
}

std::string FromUnlabelled(std::string_view bytes) {
  if (IsUtf8(bytes)) return std::string(bytes);
  return HoldsUtf8Sequence(bytes) ? ValidUtf8(bytes) : FromWindows(bytes);
}

bool IsOneOf(const std::string& label, std::initializer_list<const char*> names) {
  return std::ranges::any_of(
      names, [&](const char* name) { return g_ascii_strcasecmp(label.c_str(), name) == 0; });
}

std::string Decode(std::string_view bytes, const std::string& label) {
  if (IsOneOf(label, {"", "us-ascii", "ascii", "utf-8", "utf8"})) return FromUnlabelled(bytes);
  const bool is_latin1 = IsOneOf(label, {"iso-8859-1", "iso8859-1", "latin1"});
  Converter converter(is_latin1 ? "CP1252" : g_mime_charset_iconv_name(label.c_str()));
  if (!converter.IsOpen()) return FromUnlabelled(bytes);
  if (auto text = converter.Convert(bytes, std::nullopt)) return ValidUtf8(*text);
  if (!IsAscii(bytes) && IsUtf8(bytes)) return std::string(bytes);
  return ValidUtf8(Converter(g_mime_charset_iconv_name(label.c_str()))
                       .Convert(bytes, kReplacement)
                       .value_or(""));
}

}  // namespace

std::string BodyToUtf8(std::string_view bytes, const std::string& label) {
  auto text = Decode(bytes, label);
  if (text.starts_with(kByteOrderMark)) text.erase(0, kByteOrderMark.size());
  return text;
}

std::string ValidUtf8(std::string_view text) {
  std::string valid;
  valid.reserve(text.size());
  while (!text.empty()) {
    const char* end = nullptr;
    if (g_utf8_validate_len(text.data(), text.size(), &end) != 0) return valid.append(text);
    const auto good = static_cast<std::size_t>(end - text.data());
    valid.append(text.substr(0, good));
    if (text[good] == '\0') {
      valid += '\0';
    } else {
      valid += kReplacement;
    }
    text.remove_prefix(good + 1);
  }
  return valid;
}

std::string WithLineEnds(std::string_view text, std::string_view line_end) {
  std::string result;
  result.reserve(text.size() + text.size() / 16);
  for (;;) {
    const auto end = text.find_first_of("\r\n");
    result.append(text.substr(0, end));
    if (end == std::string_view::npos) return result;
    result.append(line_end);
    const auto after_returns = text.find_first_not_of('\r', end);
    const bool is_feed = after_returns != std::string_view::npos && text[after_returns] == '\n';
    text.remove_prefix(is_feed ? after_returns + 1 : end + 1);
  }
}

}  // namespace corvessa::desk::mail
