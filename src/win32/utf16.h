#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/secret_string.h"

/// Windows takes and gives UTF-16, the rest of this code UTF-8. NUL is a character like any other.
namespace corvessa::win32 {

/// Nothing when the text is not UTF-8.
std::optional<std::wstring> Utf16(std::string_view text);
/// Nothing when half a surrogate pair is in the text.
std::optional<std::string> Utf8(std::wstring_view text);

/// With U+FFFD for what is not UTF-8: for text that is only shown.
std::wstring ShownUtf16(std::string_view text);
/// With U+FFFD for half a surrogate pair: for text that is only shown.
std::string ShownUtf8(std::wstring_view text);
/// The same for a secret: leaves no other copy behind. Changes `text`.
SecretString ShownUtf8Secret(std::span<wchar_t> text);

/// How many units the text takes as UTF-16; nothing when it is not UTF-8.
std::optional<std::size_t> Utf16Size(std::string_view text);
/// Fills exactly so many units.
void WriteUtf16(std::string_view text, std::span<wchar_t> units);

}  // namespace corvessa::win32
