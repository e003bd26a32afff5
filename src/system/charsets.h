#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Conversion between charsets by the system's own tables: iconv on Linux, code pages on Windows.
namespace corvessa::system {

/// The charsets that mail was written in before UTF-8, as far as they are needed.
enum class Charset { kUtf8, kWindows1252, kLatin9, kIso2022Jp };

/// Converts text strictly: nothing when the bytes are not of the one charset or when the other
/// cannot express them. UTF-8 to UTF-8 checks it.
std::optional<std::string> Convert(std::string_view bytes, Charset from, Charset to);

/// How many columns of a terminal a character in UTF-8 takes: two for a wide East Asian one, none
/// for a combining mark.
int ColumnsOfCharacter(std::string_view character);

}  // namespace corvessa::system
