#include "mime/fields.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "base/text.h"
#include "system/charsets.h"

namespace corvessa::mime {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

/// Far more than any mail has.
constexpr std::size_t kMaximumFields = 2000;
constexpr std::size_t kMaximumParameters = 200;

std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line.ends_with('\r') ? line.substr(0, line.size() - 1) : line;
}

bool IsFieldName(std::string_view name) {
  return !name.empty() && std::ranges::all_of(name, [](char c) { return c > ' ' && c < 0x7F; });
}

/// Value of a base64 digit, or 64 if invalid.
std::uint32_t Base64Digit(char c) {
  if (c >= 'A' && c <= 'Z') return static_cast<std::uint32_t>(c - 'A');
  if (c >= 'a' && c <= 'z') return static_cast<std::uint32_t>(c - 'a' + 26);
  if (c >= '0' && c <= '9') return static_cast<std::uint32_t>(c - '0' + 52);
  return c == '+' ? 62 : c == '/' ? 63 : 64;
}

std::string FromBase64(std::string_view text) {
  std::string bytes;
  std::uint32_t bits = 0;
  int count = 0;
  for (const char c : text) {
    // What follows the padding is another piece, as when somebody joined two.
    if (c == '=') count = 0;
    const std::uint32_t digit = Base64Digit(c);
    if (digit == 64) continue;
    bits = (bits << 6) | digit;
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>((bits >> count) & 0xFF);
  }
  return bytes;
}

std::optional<char> HexByte(std::string_view digits) {
  unsigned value = 0;
  if (digits.size() < 2) return std::nullopt;
  for (const char c : digits.substr(0, 2)) {
    const bool is_digit = c >= '0' && c <= '9';
    const char lower = static_cast<char>(c | 0x20);
    if (!is_digit && (lower < 'a' || lower > 'f')) return std::nullopt;
    value = value * 16 + static_cast<unsigned>(is_digit ? c - '0' : lower - 'a' + 10);
  }
  return static_cast<char>(value);
}

/// Each `mark` and two hexadecimal digits as a byte.
std::string FromHex(std::string_view text, char mark) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = text[i] == mark ? HexByte(text.substr(i + 1)) : std::nullopt;
    bytes += byte.value_or(text[i]);
    if (byte) i += 2;
  }
  return bytes;
}

std::string FromQuotedPrintable(std::string_view text) {
  std::string bytes;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    // Blanks at the end of a line came on the way.
    const std::size_t last = line.find_last_not_of(kBlanks);
    line = line.substr(0, last == std::string_view::npos ? 0 : last + 1);
    const bool goes_on = line.ends_with('=');
    if (goes_on) line.remove_suffix(1);
    bytes += FromHex(line, '=');
    if (!goes_on && end != std::string_view::npos) bytes += "\r\n";
  }
  return bytes;
}

struct Word {
  std::string charset;
  std::string bytes;
  std::size_t length = 0;  ///< of the encoded form; 0 for no word
};

/// The encoded word at the start of a text.
std::optional<Word> WordAt(std::string_view text) {
  if (!text.starts_with("=?")) return std::nullopt;
  const std::size_t charset_end = text.find('?', 2);
  if (charset_end == std::string_view::npos || charset_end + 2 >= text.size() ||
      text[charset_end + 2] != '?') {
    return std::nullopt;
  }
  const std::size_t start = charset_end + 3;
  const std::size_t end = text.find("?=", start);
  if (end == std::string_view::npos) return std::nullopt;
  std::string charset(text.substr(2, charset_end - 2));
  charset.resize(std::min(charset.find('*'), charset.size()));
  const std::string_view content = text.substr(start, end - start);
  const char encoding = static_cast<char>(text[charset_end + 1] | 0x20);
  if (encoding == 'b') return Word{charset, FromBase64(content), end + 2};
  if (encoding != 'q') return std::nullopt;
  return Word{charset, FromHex(Replace(content, "_", " "), '='), end + 2};
}

std::string_view TakeToken(std::string_view& text, std::string_view ends) {
  const std::size_t end = std::min(text.find_first_of(ends), text.size());
  const std::string_view token = Trim(text.substr(0, end), kBlanks);
  text.remove_prefix(end);
  return token;
}

std::string TakeQuoted(std::string_view& text) {
  std::string value;
  std::size_t i = 1;
  for (; i < text.size() && text[i] != '"'; ++i) {
    if (text[i] == '\\' && i + 1 < text.size()) ++i;
    value += text[i];
  }
  text.remove_prefix(std::min(i + 1, text.size()));
  return value;
}

/// The pieces of one parameter, by their numbers.
struct Pieces {
  std::map<int, std::string> by_number;
  std::string charset;
  bool is_extended = false;
};

/// Adds "name*0*" or "name*"; `value` begins with charset'language' in the first piece.
void AddPiece(std::string_view suffix, std::string value, Pieces& pieces) {
  const bool is_encoded = suffix.ends_with('*');
  if (is_encoded) suffix.remove_suffix(1);
  if (suffix.starts_with('*')) suffix.remove_prefix(1);
  const int number = static_cast<int>(LeadingNumber(suffix.substr(0, 4)));
  pieces.is_extended = true;
  if (is_encoded && number == 0) {
    const std::size_t first = value.find('\'');
    const std::size_t second = first == std::string::npos ? first : value.find('\'', first + 1);
    if (second != std::string::npos) {
      pieces.charset = value.substr(0, first);
      value.erase(0, second + 1);
    }
  }
  pieces.by_number[number] = is_encoded ? FromHex(value, '%') : std::move(value);
}

std::string Unfolded(std::string_view value) {
  return Replace(Trim(value, kBlanks), "\t", " ");
}

}  // namespace

const std::string* Header::Find(std::string_view name) const {
  const auto found =
      std::ranges::find_if(fields, [&](const auto& field) { return field.first == name; });
  return found == fields.end() ? nullptr : &found->second;
}

Header ReadHeader(std::string_view entity) {
  Header header;
  header.body = entity;
  std::string_view rest = entity;
  while (!rest.empty() && header.fields.size() < kMaximumFields) {
    const std::string_view line = TakeLine(rest);
    if (line.empty()) break;
    if ((line.front() == ' ' || line.front() == '\t') && !header.fields.empty()) {
      header.fields.back().second.append(line);
      continue;
    }
    const std::size_t colon = line.find(':');
    const std::string_view name = Trim(line.substr(0, std::min(colon, line.size())), kBlanks);
    if (colon != std::string_view::npos && IsFieldName(name)) {
      header.fields.emplace_back(LCase(name), line.substr(colon + 1));
    } else if (header.fields.empty()) {
      return header;
    }
  }
  for (auto& field : header.fields) field.second = Unfolded(field.second);
  // The blank line alone begins a part without a header.
  header.body = rest;
  return header;
}

std::string Parameters::Get(const std::string& name) const {
  const auto found = all.find(name);
  return found == all.end() ? std::string() : found->second;
}

Parameters ParseParameters(std::string_view raw) {
  Parameters parsed;
  parsed.value = LCase(TakeToken(raw, ";"));
  std::map<std::string, Pieces> extended;
  for (std::size_t count = 0; !raw.empty() && count < kMaximumParameters; ++count) {
    raw.remove_prefix(1);
    const std::string name = LCase(TakeToken(raw, "=;"));
    if (raw.empty() || raw.front() == ';') continue;
    raw.remove_prefix(1);
    raw = raw.substr(std::min(raw.find_first_not_of(kBlanks), raw.size()));
    const bool is_quoted = raw.starts_with('"');
    std::string value = is_quoted ? TakeQuoted(raw) : std::string(TakeToken(raw, ";"));
    if (is_quoted) TakeToken(raw, ";");
    const std::size_t star = name.find('*');
    if (star == std::string::npos) {
      parsed.all.try_emplace(name, DecodeWords(value));
    } else {
      AddPiece(std::string_view(name).substr(star), std::move(value),
               extended[name.substr(0, star)]);
    }
  }
  for (const auto& [name, pieces] : extended) {
    std::string bytes;
    for (const auto& [number, piece] : pieces.by_number) bytes += piece;
    parsed.all[name] = TextIn(bytes, pieces.charset);
  }
  return parsed;
}

std::string DecodeWords(std::string_view raw) {
  std::string text;
  Word open;
  std::string_view gap;
  const auto close = [&] {
    if (open.length != 0) text += TextIn(open.bytes, open.charset);
    open = {};
  };
  while (!raw.empty()) {
    if (auto word = WordAt(raw)) {
      raw.remove_prefix(word->length);
      // Blanks between words are not part of the text, and a letter may be split by them.
      if (open.length != 0 && open.charset == word->charset) {
        open.bytes += word->bytes;
      } else {
        close();
        open = *std::move(word);
      }
      gap = {};
      continue;
    }
    const std::string_view plain = raw.substr(0, raw.find("=?", 1));
    raw.remove_prefix(plain.size());
    if (open.length != 0 && Trim(plain, kBlanks).empty()) {
      gap = plain;
      continue;
    }
    close();
    text += gap;
    text += IsAscii(plain) ? std::string(plain) : TextIn(plain, "");
    gap = {};
  }
  close();
  return text;
}

std::string TextIn(std::string_view bytes, const std::string& charset) {
  using system::Charset;
  const auto named = system::FindCharset(charset);
  if (named) {
    if (auto text = system::Convert(bytes, *named, Charset::kUtf8)) return *text;
  }
  // Missing and wrong names are common.
  if (auto text = system::Convert(bytes, Charset::kUtf8, Charset::kUtf8)) return *text;
  return system::ConvertReplacing(bytes, named.value_or(Charset::kWindows1252));
}

std::string DecodeTransfer(std::string_view body, std::string_view lower_encoding) {
  if (lower_encoding == "base64") return FromBase64(body);
  if (lower_encoding == "quoted-printable") return FromQuotedPrintable(body);
  return std::string(body);
}

}  // namespace corvessa::mime
