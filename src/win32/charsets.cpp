#include "system/charsets.h"

#include <algorithm>
#include <windows.h>

#include "win32/utf16.h"

namespace corvessa::system {
namespace {

// Windows has no code pages for these: their characters from A0 to FF.
// clang-format off
constexpr std::wstring_view kIso10Upper =
    L"\u00A0\u0104\u0112\u0122\u012A\u0128\u0136\u00A7\u013B\u0110\u0160\u0166\u017D\u00AD\u016A\u014A"
    L"\u00B0\u0105\u0113\u0123\u012B\u0129\u0137\u00B7\u013C\u0111\u0161\u0167\u017E\u2015\u016B\u014B"
    L"\u0100\u00C1\u00C2\u00C3\u00C4\u00C5\u00C6\u012E\u010C\u00C9\u0118\u00CB\u0116\u00CD\u00CE\u00CF"
    L"\u00D0\u0145\u014C\u00D3\u00D4\u00D5\u00D6\u0168\u00D8\u0172\u00DA\u00DB\u00DC\u00DD\u00DE\u00DF"
    L"\u0101\u00E1\u00E2\u00E3\u00E4\u00E5\u00E6\u012F\u010D\u00E9\u0119\u00EB\u0117\u00ED\u00EE\u00EF"
    L"\u00F0\u0146\u014D\u00F3\u00F4\u00F5\u00F6\u0169\u00F8\u0173\u00FA\u00FB\u00FC\u00FD\u00FE\u0138";
constexpr std::wstring_view kIso14Upper =
    L"\u00A0\u1E02\u1E03\u00A3\u010A\u010B\u1E0A\u00A7\u1E80\u00A9\u1E82\u1E0B\u1EF2\u00AD\u00AE\u0178"
    L"\u1E1E\u1E1F\u0120\u0121\u1E40\u1E41\u00B6\u1E56\u1E81\u1E57\u1E83\u1E60\u1EF3\u1E84\u1E85\u1E61"
    L"\u00C0\u00C1\u00C2\u00C3\u00C4\u00C5\u00C6\u00C7\u00C8\u00C9\u00CA\u00CB\u00CC\u00CD\u00CE\u00CF"
    L"\u0174\u00D1\u00D2\u00D3\u00D4\u00D5\u00D6\u1E6A\u00D8\u00D9\u00DA\u00DB\u00DC\u00DD\u0176\u00DF"
    L"\u00E0\u00E1\u00E2\u00E3\u00E4\u00E5\u00E6\u00E7\u00E8\u00E9\u00EA\u00EB\u00EC\u00ED\u00EE\u00EF"
    L"\u0175\u00F1\u00F2\u00F3\u00F4\u00F5\u00F6\u1E6B\u00F8\u00F9\u00FA\u00FB\u00FC\u00FD\u0177\u00FF";
constexpr std::wstring_view kIso16Upper =
    L"\u00A0\u0104\u0105\u0141\u20AC\u201E\u0160\u00A7\u0161\u00A9\u0218\u00AB\u0179\u00AD\u017A\u017B"
    L"\u00B0\u00B1\u010C\u0142\u017D\u201D\u00B6\u00B7\u017E\u010D\u0219\u00BB\u0152\u0153\u0178\u017C"
    L"\u00C0\u00C1\u00C2\u0102\u00C4\u0106\u00C6\u00C7\u00C8\u00C9\u00CA\u00CB\u00CC\u00CD\u00CE\u00CF"
    L"\u0110\u0143\u00D2\u00D3\u00D4\u0150\u00D6\u015A\u0170\u00D9\u00DA\u00DB\u00DC\u0118\u021A\u00DF"
    L"\u00E0\u00E1\u00E2\u0103\u00E4\u0107\u00E6\u00E7\u00E8\u00E9\u00EA\u00EB\u00EC\u00ED\u00EE\u00EF"
    L"\u0111\u0144\u00F2\u00F3\u00F4\u0151\u00F6\u015B\u0171\u00F9\u00FA\u00FB\u00FC\u0119\u021B\u00FF";
// clang-format on

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

/// Where GB18030 has no code page, that of its older part, which holds all but rare characters.
UINT PageOf(Charset charset) {
  const UINT page = CodePage(charset);
  return charset == Charset::kGb18030 && !IsValidCodePage(page) ? CodePage(Charset::kGbk) : page;
}

std::optional<std::string> Encode(std::wstring_view text, UINT page) {
  std::string bytes(text.size() * 4, '\0');
  if (text.empty()) return bytes;
  // It can express everything, and takes no question about it.
  const bool is_whole = page == CodePage(Charset::kGb18030);
  BOOL was_inexact = FALSE;
  const int size = WideCharToMultiByte(
      page, is_whole ? 0 : WC_NO_BEST_FIT_CHARS, text.data(), static_cast<int>(text.size()),
      bytes.data(), static_cast<int>(bytes.size()), nullptr, is_whole ? nullptr : &was_inexact);
  if (size == 0 || was_inexact) return std::nullopt;
  bytes.resize(static_cast<std::size_t>(size));
  return bytes;
}

// The code pages of Windows itself have lower numbers.
constexpr UINT kFirstOfOthers = 20000;

/// What a code page of Windows has no character for it takes for control characters.
bool HasLateControls(std::wstring_view text) {
  return std::ranges::any_of(text, [](wchar_t unit) { return unit >= 0x80 && unit < 0xA0; });
}

/// The table of a charset that has no code page; null for the others.
const std::wstring_view* UpperHalf(Charset charset) {
  switch (charset) {
    case Charset::kIso10:
      return &kIso10Upper;
    case Charset::kIso14:
      return &kIso14Upper;
    case Charset::kIso16:
      return &kIso16Upper;
    default:
      return nullptr;
  }
}

constexpr unsigned char kUpperHalf = 0xA0;

std::wstring DecodeUpper(std::string_view bytes, std::wstring_view upper) {
  std::wstring text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += byte < kUpperHalf ? static_cast<wchar_t>(byte) : upper[byte - kUpperHalf];
  }
  return text;
}

std::optional<std::string> EncodeUpper(std::wstring_view text, std::wstring_view upper) {
  std::string bytes;
  for (const wchar_t unit : text) {
    const auto found = unit < kUpperHalf ? std::wstring_view::npos : upper.find(unit);
    if (unit >= kUpperHalf && found == std::wstring_view::npos) return std::nullopt;
    bytes += static_cast<char>(unit < kUpperHalf ? unit : found + kUpperHalf);
  }
  return bytes;
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
  if (const auto* upper = UpperHalf(from)) return DecodeUpper(bytes, *upper);
  std::optional<std::wstring> text;
  if (from == Charset::kIso2022Jp) {
    const auto euc = EucFromIso2022(bytes);
    if (euc) text = Decode(*euc, PageOf(Charset::kEucJp));
  } else {
    text = Decode(bytes, PageOf(from));
  }
  const bool is_of_windows = PageOf(from) < kFirstOfOthers;
  return text && is_of_windows && HasLateControls(*text) ? std::nullopt : text;
}

std::optional<std::string> FromUtf16(std::wstring_view text, Charset to) {
  if (to == Charset::kUtf8) return win32::Utf8(text);
  if (const auto* upper = UpperHalf(to)) return EncodeUpper(text, *upper);
  if (to == Charset::kIso2022Jp) {
    const auto euc = Encode(text, PageOf(Charset::kEucJp));
    return euc ? Iso2022FromEuc(*euc) : std::nullopt;
  }
  if (PageOf(to) < kFirstOfOthers && HasLateControls(text)) return std::nullopt;
  return Encode(text, PageOf(to));
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
