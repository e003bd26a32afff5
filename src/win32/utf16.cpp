#include "win32/utf16.h"

#include <limits>
#include <stdexcept>
#include <windows.h>

namespace corvessa::win32 {
namespace {

constexpr wchar_t kReplacement = 0xFFFD;

constexpr bool IsHighSurrogate(wchar_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}

constexpr bool IsLowSurrogate(wchar_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

/// The conversions of older systems drop such halves or pass them on.
std::size_t FindLoneSurrogate(std::wstring_view text, std::size_t from = 0) {
  for (std::size_t i = from; i < text.size(); ++i) {
    if (IsLowSurrogate(text[i])) return i;
    if (!IsHighSurrogate(text[i])) continue;
    if (++i == text.size() || !IsLowSurrogate(text[i])) return i - 1;
  }
  return text.npos;
}

int CheckedSize(std::size_t size) {
  if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    throw std::length_error("The text is too long.");
  }
  return static_cast<int>(size);
}

int ConvertToUtf16(std::string_view text, DWORD flags, std::span<wchar_t> units = {}) {
  return MultiByteToWideChar(CP_UTF8, flags, text.data(), CheckedSize(text.size()), units.data(),
                             CheckedSize(units.size()));
}

void ReplaceLoneSurrogates(std::span<wchar_t> text) {
  const std::wstring_view all(text.data(), text.size());
  for (std::size_t at = 0; (at = FindLoneSurrogate(all, at)) != all.npos; ++at) {
    text[at] = kReplacement;
  }
}

int ConvertToUtf8(std::wstring_view text, std::span<char> bytes = {}) {
  return WideCharToMultiByte(CP_UTF8, 0, text.data(), CheckedSize(text.size()), bytes.data(),
                             CheckedSize(bytes.size()), nullptr, nullptr);
}

std::size_t Utf8Size(std::wstring_view text) {
  return text.empty() ? 0 : static_cast<std::size_t>(ConvertToUtf8(text));
}

void WriteUtf8(std::wstring_view text, std::span<char> bytes) {
  if (!text.empty()) ConvertToUtf8(text, bytes);
}

std::string ToUtf8(std::wstring_view text) {
  std::string narrow(Utf8Size(text), '\0');
  WriteUtf8(text, narrow);
  return narrow;
}

}  // namespace

std::optional<std::size_t> Utf16Size(std::string_view text) {
  if (text.empty()) return 0;
  const int units = ConvertToUtf16(text, MB_ERR_INVALID_CHARS);
  if (units == 0) return std::nullopt;
  return static_cast<std::size_t>(units);
}

void WriteUtf16(std::string_view text, std::span<wchar_t> units) {
  if (!text.empty()) ConvertToUtf16(text, 0, units);
}

std::optional<std::wstring> Utf16(std::string_view text) {
  const auto size = Utf16Size(text);
  if (!size) return std::nullopt;
  std::wstring wide(*size, L'\0');
  WriteUtf16(text, wide);
  return wide;
}

std::wstring ShownUtf16(std::string_view text) {
  if (text.empty()) return {};
  std::wstring wide(static_cast<std::size_t>(ConvertToUtf16(text, 0)), L'\0');
  WriteUtf16(text, wide);
  return wide;
}

std::optional<std::string> Utf8(std::wstring_view text) {
  if (FindLoneSurrogate(text) != text.npos) return std::nullopt;
  return ToUtf8(text);
}

std::string ShownUtf8(std::wstring_view text) {
  std::wstring whole(text);
  ReplaceLoneSurrogates(whole);
  return ToUtf8(whole);
}

SecretString ShownUtf8Secret(std::span<wchar_t> text) {
  ReplaceLoneSurrogates(text);
  SecretBytes bytes(Utf8Size({text.data(), text.size()}));
  WriteUtf8({text.data(), text.size()}, bytes);
  return SecretString({bytes.data(), bytes.size()});
}

}  // namespace corvessa::win32
