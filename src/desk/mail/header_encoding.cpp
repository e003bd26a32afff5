#include <algorithm>

#include "base/error.h"
#include "desk/mail/gmime_handle.h"
#include "desk/mail/header_fields.h"
#include "desk/mail/mail.h"

namespace corvessa::desk::mail {

namespace {

// The mail standards' limits for a line with encoded words and, with a margin, for any line.
constexpr std::size_t kLineLength = 76;
constexpr std::size_t kLongestToken = 900;
// Bytes in one encoded word. A multiple of three needs no padding.
constexpr std::size_t kWordBytes = 39;

bool IsContinuation(char c) {
  return (c & 0xC0) == 0x80;
}

bool IsFoldable(std::string_view text, std::size_t at) {
  return text[at] == ' ' && at > 0 && at + 1 < text.size() && text[at - 1] != ' ' &&
         text[at + 1] != ' ';
}

/// The next place to fold at or after a position, or the end.
std::size_t TokenEnd(std::string_view text, std::size_t start) {
  auto end = start;
  while (end < text.size() && !IsFoldable(text, end)) ++end;
  return end;
}

bool HasLongToken(std::string_view text) {
  for (std::size_t start = 0; start < text.size();) {
    const auto end = TokenEnd(text, start);
    if (end - start > kLongestToken) return true;
    start = end + 1;
  }
  return false;
}

bool IsPlain(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= 32 && c < 127; }) &&
         text.find("=?") == std::string_view::npos && !HasLongToken(text);
}

/// The bytes of the text for the next encoded word: whole characters and, if possible, no padding,
/// because some readers lose what follows a padded word.
std::size_t WordLength(std::string_view text) {
  if (text.size() <= kWordBytes) return text.size();
  std::size_t longest = 0;
  for (std::size_t length = kWordBytes; length > kWordBytes / 2; --length) {
    if (IsContinuation(text[length])) continue;
    if (length % 3 == 0) return length;
    longest = std::max(longest, length);
  }
  return longest == 0 ? kWordBytes : longest;
}

std::string EncodedWords(std::string_view text) {
  std::string words;
  while (!text.empty()) {
    const auto length = WordLength(text);
    const GText base64(g_base64_encode(reinterpret_cast<const guchar*>(text.data()), length));
    if (!words.empty()) words += ' ';
    words.append("=?utf-8?B?").append(base64.get()).append("?=");
    text.remove_prefix(length);
  }
  return words;
}

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

std::string EncodePhrase(std::string_view name) {
  const auto line = OneLine(name);
  return IsPlain(line) ? Quoted(line) : EncodedWords(line);
}

bool IsReadBack(const std::string& address) {
  if (!IsPlain(address)) return false;
  const auto read = DecodeMailboxes("<" + address + ">");
  return read.size() == 1 && read.front() == Mailbox{"", address};
}

/// The address with the domain in its ASCII form.
std::string AsciiAddress(const std::string& address) {
  const auto domain = address.rfind('@') + 1;
  const GText ascii(g_hostname_to_ascii(address.c_str() + domain));
  return ascii ? address.substr(0, domain) + ascii.get() : address;
}

}  // namespace

std::string EncodeText(std::string_view text) {
  const auto line = OneLine(text);
  return IsPlain(line) ? line : EncodedWords(line);
}

std::string EncodeMailbox(const Mailbox& mailbox) {
  if (mailbox.address.empty()) return EncodePhrase(mailbox.name);
  const auto address = IsPlain(mailbox.address) ? mailbox.address : AsciiAddress(mailbox.address);
  if (!IsReadBack(address)) {
    Raise(kInvalidArgument, "\"" + OneLine(mailbox.address) + "\" is not an email address.");
  }
  return mailbox.name.empty() ? address : EncodePhrase(mailbox.name) + " <" + address + ">";
}

std::string EncodeIdentifier(std::string_view identifier) {
  std::string safe;
  std::ranges::copy_if(identifier, std::back_inserter(safe),
                       [](char c) { return c > 32 && c < 127 && c != '<' && c != '>'; });
  return safe.empty() || safe.size() > kLongestToken ? "" : "<" + safe + ">";
}

std::string FoldedField(std::string_view name, std::string_view value) {
  std::string field = std::string(name) + ":";
  auto column = field.size();
  for (std::size_t start = 0; start < value.size();) {
    const auto end = TokenEnd(value, start);
    const auto length = end - start;
    const bool is_first = start == 0;
    if (column + 1 + length > kLineLength && (!is_first || length < kLineLength)) {
      field += "\r\n";
      column = 0;
    }
    field.append(" ").append(value.substr(start, length));
    column += 1 + length;
    start = end + 1;
  }
  return field + "\r\n";
}

}  // namespace corvessa::desk::mail
