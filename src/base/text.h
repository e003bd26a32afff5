#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The classic text conversions, and the only ones the logic uses. Text is UTF-8; "character" means
/// code point; a byte that is no UTF-8 counts as one character and is kept as it is. None of them
/// asks the locale, none throws.
namespace corvessa {

inline constexpr std::string_view kCrLf = "\r\n";

/// Decimal text with one blank before a number that is not negative: " 3", "-1".
std::string Str(std::int64_t number);

/// Decimal text without the blank.
std::string Decimal(std::int64_t number);

/// Without the blanks (U+0020 only, unless told otherwise) at both ends. The view lives as long as
/// the text.
std::string_view Trim(std::string_view text, std::string_view blanks = " ");

/// Unicode simple lower case.
std::string LCase(std::string_view text);

/// Number of characters.
std::size_t Length(std::string_view text);

/// The first characters, or all of a shorter text. The view lives as long as the text.
std::string_view Left(std::string_view text, std::size_t characters);

/// Every occurrence of `from`, found left to right, replaced; comparison is exact.
std::string Replace(std::string_view text, std::string_view from, std::string_view to);

/// With every line end (CR, LF or CRLF) made CRLF.
std::string WithCrLf(std::string_view text);

/// Line length that plain mail carries unbroken.
inline constexpr std::size_t kWrapWidth = 76;

/// Breaks lines longer than `width` characters: at the last blank, which CR LF replaces, or after
/// the last "," or "-" within the width; hard at the width when there is none. Line ends that are
/// there stay as they are. A width of 0 breaks nothing.
std::string WrapText(std::string_view text, std::size_t width = kWrapWidth);

/// The parts between the separators; none for an empty text, and none behind a separator that ends
/// it.
std::vector<std::string> Split(std::string_view text, std::string_view separator);

/// The texts with the separator between them.
std::string Join(const std::vector<std::string>& texts, std::string_view separator);

/// The number that the text begins with: blanks, tabs and line feeds are skipped, also inside the
/// number; an optional sign, digits, one point; 0 when there is none.
double LeadingNumber(std::string_view text);

/// To the nearest whole number, halves to the even one: 8.5 gives 8, 9.5 gives 10.
double RoundHalfEven(double number);

/// The number as a 32-bit one; past either end it stays at that end.
std::int32_t ClampToInt32(double number);

/// Text from outside as it may be shown: control characters, the marks that turn the direction of
/// writing and characters that draw nothing are left out, so that a name cannot disguise what
/// stands beside it. Line breaks go too.
std::string ForDisplay(std::string_view text);

/// The same for a text of several lines: a line break of any kind (CR LF, CR, LF) becomes one LF,
/// a tab the blanks up to the next multiple of eight characters.
std::string ForDisplayLines(std::string_view raw);

/// The UTF-8 form of a code point.
std::string Utf8(char32_t code);

bool IsAscii(std::string_view text);

/// An ASCII control character.
constexpr bool IsControlCharacter(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

/// Whether a byte of the text is an ASCII control character.
bool HoldsControlCharacter(std::string_view text);

/// An address that begins with http:// or https://, in any case.
bool IsWebAddress(std::string_view url);

/// A file name of at most so many bytes: a longer one loses the end of its stem, by whole
/// characters, and keeps an extension of up to 16 bytes.
std::string ShortenedFileName(std::string_view name, std::size_t most);

}  // namespace corvessa
