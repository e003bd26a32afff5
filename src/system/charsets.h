#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Conversion between charsets by the system's own tables: iconv on Linux, code pages on Windows.
namespace corvessa::system {

/// The charsets of mail. The first is the only one of today; none of them gives ASCII another
/// meaning, except that ISO-2022-JP says when.
enum class Charset {
  kUtf8,
  kWindows1252,  ///< also what is called ISO-8859-1
  kLatin9,
  kIso2022Jp,
  kWindows1250,
  kLatin2,
  kWindows1251,
  kKoi8R,
  kKoi8U,
  kIso5,
  kGb18030,
  kGbk,
  kBig5,
  kShiftJis,
  kEucJp,
  kEucKr,
  kWindows1253,
  kIso7,
  kWindows1254,
  kIso9,
  kWindows1255,
  kIso8,
  kWindows1256,
  kIso6,
  kWindows1257,
  kIso13,
  kIso4,
  kWindows1258,
  kLatin3,
  kIso10,
  kIso11,
  kIso14,
  kIso16,
};

/// By its name in MIME, or as "cp" and the number of a code page; nothing for unknown ones and for
/// those that hide ASCII, such as UTF-7.
std::optional<Charset> FindCharset(std::string_view name);
/// All but UTF-8, the commonest first.
const std::vector<Charset>& EarlierCharsets();
/// Its letters are Latin ones with accents.
bool IsLatin(Charset charset);
/// Its letters outside ASCII take two bytes or more.
bool HasPairs(Charset charset);
/// What the systems call it.
const char* IconvName(Charset charset);
unsigned CodePage(Charset charset);

/// Converts text strictly: nothing when the bytes are not of the one charset or when the other
/// cannot express them. UTF-8 to UTF-8 checks it.
std::optional<std::string> Convert(std::string_view bytes, Charset from, Charset to);

/// To UTF-8, with U+FFFD for each byte that is none of the charset.
std::string ConvertReplacing(std::string_view bytes, Charset from);

/// How many columns of a terminal a character in UTF-8 takes: two for a wide East Asian one, none
/// for a combining mark.
int ColumnsOfCharacter(std::string_view character);

}  // namespace corvessa::system
