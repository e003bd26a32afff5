#include "system/charsets.h"

#include <algorithm>
#include <windows.h>

#include "win32/utf16.h"

namespace corvessa::system {
namespace {

constexpr UINT kWindows1252 = 1252;
constexpr UINT kLatin9 = 28605;
constexpr UINT kEucJp = 20932;

std::optional<std::wstring> Decode(std::string_view bytes, UINT page) {
  std::wstring text(bytes.size(), L'\0');
  if (bytes.empty()) return text;
  const int size =
      MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes.data(), static_cast<int>(bytes.size()),
                          text.data(), static_cast<int>(text.size()));
  if (size == 0) return std::nullopt;
  text.resize(static_cast<std::size_t>(size));
  return text;
}

std::optional<std::string> Encode(std::wstring_view text, UINT page) {
  std::string bytes(text.size() * 2, '\0');
  if (text.empty()) return bytes;
  BOOL was_inexact = FALSE;
  const int size =
      WideCharToMultiByte(page, WC_NO_BEST_FIT_CHARS, text.data(), static_cast<int>(text.size()),
                          bytes.data(), static_cast<int>(bytes.size()), nullptr, &was_inexact);
  if (size == 0 || was_inexact) return std::nullopt;
  bytes.resize(static_cast<std::size_t>(size));
  return bytes;
}

/// What the code page has no character for it takes for control characters.
bool HasLateControls(std::wstring_view text) {
  return std::ranges::any_of(text, [](wchar_t unit) { return unit >= 0x80 && unit < 0xA0; });
}

/// ISO-2022-JP is shifted to and fro by escape sequences; EUC-JP has the same pairs of bytes, but
/// with their upper bits set. Not every system has a code page for the former.
std::optional<std::string> EucFromIso2022(std::string_view bytes) {
  std::string euc;
  bool is_shifted = false;
  while (!bytes.empty()) {
    if (bytes[0] == '\x1b') {
      const auto sequence = bytes.substr(0, 3);
      is_shifted = sequence == "\x1b$B" || sequence == "\x1b$@";
      if (!is_shifted && sequence != "\x1b(B" && sequence != "\x1b(J") return std::nullopt;
      bytes.remove_prefix(sequence.size());
      continue;
    }
    const std::size_t width = is_shifted ? 2 : 1;
    if (bytes.size() < width) return std::nullopt;
    for (const char byte : bytes.substr(0, width)) {
      if (byte & 0x80 || (is_shifted && byte < 0x21)) return std::nullopt;
      euc += static_cast<char>(is_shifted ? byte | 0x80 : byte);
    }
    bytes.remove_prefix(width);
  }
  return euc;
}

std::optional<std::string> Iso2022FromEuc(std::string_view euc) {
  constexpr auto kIsHigh = [](char byte) { return static_cast<unsigned char>(byte) > 0xA0; };
  std::string bytes;
  bool is_shifted = false;
  for (std::size_t i = 0; i < euc.size(); ++i) {
    const bool is_pair = (euc[i] & 0x80) != 0;
    if (is_pair != is_shifted) bytes += is_pair ? "\x1b$B" : "\x1b(B";
    is_shifted = is_pair;
    bytes += static_cast<char>(euc[i] & 0x7f);
    if (!is_pair) continue;
    if (!kIsHigh(euc[i]) || ++i == euc.size() || !kIsHigh(euc[i])) return std::nullopt;
    bytes += static_cast<char>(euc[i] & 0x7f);
  }
  if (is_shifted) bytes += "\x1b(B";
  return bytes;
}

std::optional<std::wstring> ToUtf16(std::string_view bytes, Charset from) {
  if (from == Charset::kUtf8) return win32::Utf16(bytes);
  if (from == Charset::kLatin9) return Decode(bytes, kLatin9);
  if (from == Charset::kIso2022Jp) {
    const auto euc = EucFromIso2022(bytes);
    return euc ? Decode(*euc, kEucJp) : std::nullopt;
  }
  auto text = Decode(bytes, kWindows1252);
  return text && !HasLateControls(*text) ? text : std::nullopt;
}

std::optional<std::string> FromUtf16(std::wstring_view text, Charset to) {
  if (to == Charset::kUtf8) return win32::Utf8(text);
  if (to == Charset::kLatin9) return Encode(text, kLatin9);
  if (to == Charset::kIso2022Jp) {
    const auto euc = Encode(text, kEucJp);
    return euc ? Iso2022FromEuc(*euc) : std::nullopt;
  }
  return HasLateControls(text) ? std::nullopt : Encode(text, kWindows1252);
}

}  // namespace

std::optional<std::string> Convert(std::string_view bytes, Charset from, Charset to) {
  const auto text = ToUtf16(bytes, from);
  return text ? FromUtf16(*text, to) : std::nullopt;
}

int ColumnsOfCharacter(std::string_view character) {
  constexpr WORD kWide = C3_FULLWIDTH | C3_HIRAGANA | C3_IDEOGRAPH;
  constexpr WORD kMark = C3_NONSPACING | C3_DIACRITIC | C3_VOWELMARK;
  const auto units = win32::Utf16(character);
  WORD kind = 0;
  if (!units || units->size() != 1 || !GetStringTypeW(CT_CTYPE3, units->data(), 1, &kind)) return 1;
  if ((kind & kWide) != 0) return 2;
  return (kind & kMark) == C3_NONSPACING ? 0 : 1;
}

}  // namespace corvessa::system
