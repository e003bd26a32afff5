#include "system/charsets.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "base/text.h"

namespace corvessa::system {
namespace {

struct Row {
  Charset charset;
  const char* iconv_name;
  unsigned code_page;
  /// Besides "cp" and the code page, in lower case; more code pages that mean the same are "cp…".
  std::string_view names;
};

constexpr Row kRows[] = {
    {Charset::kUtf8, "UTF-8", 65001, "utf-8 utf8 unicode-1-1-utf-8"},
    {Charset::kWindows1252, "CP1252", 1252,
     "windows-1252 iso-8859-1 iso8859-1 iso_8859-1 latin1 l1 cp28591"},
    {Charset::kLatin9, "ISO-8859-15", 28605, "iso-8859-15 iso8859-15 iso_8859-15 latin9 latin-9"},
    {Charset::kIso2022Jp, "ISO-2022-JP", 50220, "iso-2022-jp cp50221 cp50222"},
    {Charset::kWindows1250, "CP1250", 1250, "windows-1250"},
    {Charset::kLatin2, "ISO-8859-2", 28592, "iso-8859-2 iso8859-2 iso_8859-2 latin2 l2"},
    {Charset::kWindows1251, "CP1251", 1251, "windows-1251"},
    {Charset::kKoi8R, "KOI8-R", 20866, "koi8-r koi8"},
    {Charset::kKoi8U, "KOI8-U", 21866, "koi8-u"},
    {Charset::kIso5, "ISO-8859-5", 28595, "iso-8859-5 iso8859-5 iso_8859-5"},
    {Charset::kGb18030, "GB18030", 54936, "gb18030"},
    {Charset::kGbk, "GBK", 936, "gbk gb2312 gb_2312-80 x-gbk euc-cn cp20936"},
    {Charset::kBig5, "BIG5-HKSCS", 950, "big5 big5-hkscs cn-big5 x-x-big5"},
    {Charset::kShiftJis, "CP932", 932, "shift_jis shift-jis sjis x-sjis ms_kanji windows-31j"},
    {Charset::kEucJp, "EUC-JP", 20932, "euc-jp x-euc-jp cp51932"},
    {Charset::kEucKr, "UHC", 949, "euc-kr uhc ks_c_5601-1987 ks_c_5601 korean cp51949 windows-949"},
    {Charset::kWindows1253, "CP1253", 1253, "windows-1253"},
    {Charset::kIso7, "ISO-8859-7", 28597, "iso-8859-7 iso8859-7 iso_8859-7 greek"},
    {Charset::kWindows1254, "CP1254", 1254, "windows-1254"},
    {Charset::kIso9, "ISO-8859-9", 28599, "iso-8859-9 iso8859-9 iso_8859-9 latin5"},
    {Charset::kWindows1255, "CP1255", 1255, "windows-1255"},
    {Charset::kIso8, "ISO-8859-8", 28598, "iso-8859-8 iso8859-8 iso_8859-8 iso-8859-8-i cp38598"},
    {Charset::kWindows1256, "CP1256", 1256, "windows-1256"},
    {Charset::kIso6, "ISO-8859-6", 28596, "iso-8859-6 iso8859-6 iso_8859-6"},
    {Charset::kWindows1257, "CP1257", 1257, "windows-1257"},
    {Charset::kIso13, "ISO-8859-13", 28603, "iso-8859-13 iso8859-13 iso_8859-13 latin7"},
    {Charset::kIso4, "ISO-8859-4", 28594, "iso-8859-4 iso8859-4 iso_8859-4 latin4"},
    {Charset::kWindows1258, "CP1258", 1258, "windows-1258"},
    {Charset::kLatin3, "ISO-8859-3", 28593, "iso-8859-3 iso8859-3 iso_8859-3 latin3"},
    {Charset::kIso10, "ISO-8859-10", 28600, "iso-8859-10 iso8859-10 iso_8859-10 latin6"},
    {Charset::kIso11, "CP874", 874, "iso-8859-11 iso8859-11 tis-620 windows-874 cp28601"},
    {Charset::kIso14, "ISO-8859-14", 28604, "iso-8859-14 iso8859-14 iso_8859-14 latin8"},
    {Charset::kIso16, "ISO-8859-16", 28606, "iso-8859-16 iso8859-16 iso_8859-16 latin10"},
};

const Row& RowOf(Charset charset) {
  return *std::ranges::find(kRows, charset, &Row::charset);
}

// Beyond it, what is not ASCII in a line that cannot be read is not looked at closely.
constexpr std::size_t kMaxReadByCharacter = std::size_t{1} << 20;
constexpr std::size_t kLongestCharacter = 4;

void AppendReplacing(std::string_view line, Charset from, std::string& text) {
  while (!line.empty()) {
    std::optional<std::string> character;
    std::size_t length = 0;
    while (!character && length < std::min(kLongestCharacter, line.size())) {
      character = Convert(line.substr(0, ++length), from, Charset::kUtf8);
    }
    text += character.value_or("\xEF\xBF\xBD");
    line.remove_prefix(character ? length : 1);
  }
}

}  // namespace

std::optional<Charset> FindCharset(std::string_view name) {
  const std::string wanted = LCase(Trim(name));
  for (const auto& row : kRows) {
    if (wanted == "cp" + std::to_string(row.code_page)) return row.charset;
    for (const auto& known : Split(row.names, " ")) {
      if (known == wanted) return row.charset;
    }
  }
  return std::nullopt;
}

const std::vector<Charset>& EarlierCharsets() {
  static const auto charsets = [] {
    std::vector<Charset> all;
    for (const auto& row : kRows) all.push_back(row.charset);
    all.erase(all.begin());
    return all;
  }();
  return charsets;
}

bool IsLatin(Charset charset) {
  static constexpr Charset kLatin[] = {
      Charset::kWindows1252, Charset::kLatin9,     Charset::kWindows1250, Charset::kLatin2,
      Charset::kWindows1254, Charset::kIso9,       Charset::kWindows1257, Charset::kIso13,
      Charset::kIso4,        Charset::kLatin3,     Charset::kIso10,       Charset::kIso14,
      Charset::kIso16,       Charset::kWindows1258};
  return std::ranges::count(kLatin, charset) > 0;
}

bool HasPairs(Charset charset) {
  return charset >= Charset::kGb18030 && charset <= Charset::kEucKr;
}

const char* IconvName(Charset charset) {
  return RowOf(charset).iconv_name;
}

unsigned CodePage(Charset charset) {
  return RowOf(charset).code_page;
}

std::string ConvertReplacing(std::string_view bytes, Charset from) {
  const bool is_long = bytes.size() > kMaxReadByCharacter;
  std::string text;
  while (!bytes.empty()) {
    const auto length = std::min(bytes.find('\n'), bytes.size() - 1) + 1;
    const auto line = bytes.substr(0, length);
    bytes.remove_prefix(length);
    if (auto converted = Convert(line, from, Charset::kUtf8)) {
      text += *converted;
    } else {
      AppendReplacing(line, is_long ? Charset::kUtf8 : from, text);
    }
  }
  return text;
}

}  // namespace corvessa::system
