#include "base/html_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include "base/text.h"

namespace corvessa {
namespace {

// HTML's names for the characters from U+00A0 on.
constexpr std::array<std::string_view, 96> kLatin1 = {
    "nbsp",   "iexcl",  "cent",   "pound",  "curren", "yen",    "brvbar", "sect",   "uml",
    "copy",   "ordf",   "laquo",  "not",    "shy",    "reg",    "macr",   "deg",    "plusmn",
    "sup2",   "sup3",   "acute",  "micro",  "para",   "middot", "cedil",  "sup1",   "ordm",
    "raquo",  "frac14", "frac12", "frac34", "iquest", "Agrave", "Aacute", "Acirc",  "Atilde",
    "Auml",   "Aring",  "AElig",  "Ccedil", "Egrave", "Eacute", "Ecirc",  "Euml",   "Igrave",
    "Iacute", "Icirc",  "Iuml",   "ETH",    "Ntilde", "Ograve", "Oacute", "Ocirc",  "Otilde",
    "Ouml",   "times",  "Oslash", "Ugrave", "Uacute", "Ucirc",  "Uuml",   "Yacute", "THORN",
    "szlig",  "agrave", "aacute", "acirc",  "atilde", "auml",   "aring",  "aelig",  "ccedil",
    "egrave", "eacute", "ecirc",  "euml",   "igrave", "iacute", "icirc",  "iuml",   "eth",
    "ntilde", "ograve", "oacute", "ocirc",  "otilde", "ouml",   "divide", "oslash", "ugrave",
    "uacute", "ucirc",  "uuml",   "yacute", "thorn",  "yuml"};

constexpr std::array<std::pair<std::string_view, std::uint32_t>, 16> kOthers = {{
    {"amp", '&'},
    {"lt", '<'},
    {"gt", '>'},
    {"quot", '"'},
    {"apos", '\''},
    {"ndash", 0x2013},
    {"mdash", 0x2014},
    {"lsquo", 0x2018},
    {"rsquo", 0x2019},
    {"sbquo", 0x201A},
    {"ldquo", 0x201C},
    {"rdquo", 0x201D},
    {"bdquo", 0x201E},
    {"bull", 0x2022},
    {"hellip", 0x2026},
    {"euro", 0x20AC},
}};

// Longer than any name above and any number of a character.
constexpr std::size_t kLongestReference = 10;

constexpr std::array<std::string_view, 23> kBlocks = {
    "div", "tr", "li",      "ul",      "ol",      "table",  "h1",    "h2",
    "h3",  "h4", "h5",      "h6",      "hr",      "dt",     "dd",    "blockquote",
    "pre", "dl", "address", "section", "article", "header", "footer"};

template <typename Names>
bool IsOneOf(const Names& names, std::string_view name) {
  return std::ranges::find(names, name) != names.end();
}

std::optional<std::uint32_t> NumericReference(std::string_view digits) {
  const bool hexadecimal = !digits.empty() && (digits[0] == 'x' || digits[0] == 'X');
  if (hexadecimal) digits.remove_prefix(1);
  if (digits.empty()) return {};
  std::uint32_t code = 0;
  for (const char c : digits) {
    std::uint32_t digit = 16;
    if (c >= '0' && c <= '9') digit = static_cast<std::uint32_t>(c - '0');
    if (hexadecimal && (c | 32) >= 'a' && (c | 32) <= 'f') {
      digit = static_cast<std::uint32_t>((c | 32) - 'a' + 10);
    }
    if (digit > (hexadecimal ? 15U : 9U)) return {};
    code = code * (hexadecimal ? 16 : 10) + digit;
    if (code > 0x10FFFF) return {};
  }
  if (code == 0 || (code >= 0xD800 && code <= 0xDFFF)) return {};
  return code;
}

std::optional<std::uint32_t> Reference(std::string_view name) {
  if (!name.empty() && name[0] == '#') return NumericReference(name.substr(1));
  const auto* const latin = std::ranges::find(kLatin1, name);
  if (latin != kLatin1.end()) return 0xA0 + static_cast<std::uint32_t>(latin - kLatin1.begin());
  for (const auto& [known, code] : kOthers) {
    if (known == name) return code;
  }
  return {};
}

/// The value at the start of the text, in quotes or up to a blank; `rest` becomes what follows it.
std::string_view TakeValue(std::string_view text, std::string_view& rest) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  const bool is_quoted = text.starts_with('"') || text.starts_with('\'');
  const auto end = is_quoted ? text.find(text[0], 1) : text.find_first_of(" \t\r\n");
  const auto length = std::min(end, text.size());
  rest = text.substr(is_quoted ? std::min(length + 1, text.size()) : length);
  return text.substr(is_quoted ? 1 : 0, is_quoted ? length - 1 : length);
}

/// The attribute's value, unresolved; empty without one.
std::string_view Attribute(std::string_view attributes, std::string_view wanted) {
  constexpr std::string_view kBlanks = " \t\r\n/";
  while (true) {
    attributes.remove_prefix(std::min(attributes.find_first_not_of(kBlanks), attributes.size()));
    if (attributes.empty()) return {};
    const auto end = std::min(attributes.find_first_of(" \t\r\n/=", 1), attributes.size());
    const bool is_wanted = LCase(attributes.substr(0, end)) == wanted;
    attributes.remove_prefix(end);
    const auto next = attributes.find_first_not_of(" \t\r\n");
    if (next == std::string_view::npos || attributes[next] != '=') continue;
    const std::string_view value = TakeValue(attributes.substr(next + 1), attributes);
    if (is_wanted) return value;
  }
}

class TextOfHtml {
 public:
  explicit TextOfHtml(std::string_view html) : rest_(html) {}

  std::string Convert() {
    while (!rest_.empty()) {
      if (rest_.starts_with("<!--")) {
        SkipPast("-->");
      } else if (rest_[0] == '<' && rest_.size() > 1 && IsTagStart(rest_[1])) {
        TakeTag();
      } else if (rest_[0] == '&') {
        TakeReference();
      } else {
        TakeCharacter();
      }
    }
    EndLink();
    return std::move(text_);
  }

 private:
  static bool IsTagStart(char c) {
    return c == '/' || c == '!' || c == '?' || ((c | 32) >= 'a' && (c | 32) <= 'z');
  }
  static bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

  void SkipPast(std::string_view end) {
    const auto at = rest_.find(end);
    rest_.remove_prefix(at == std::string_view::npos ? rest_.size() : at + end.size());
  }

  void TakeTag() {
    const auto end = rest_.find('>');
    const std::string_view tag = rest_.substr(1, end == std::string_view::npos ? end : end - 1);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    const bool closing = tag.starts_with('/');
    const auto bare = tag.substr(closing ? 1 : 0);
    const std::string name = LCase(bare.substr(0, bare.find_first_of(" \t\r\n/")));
    if (name == "a") return closing ? EndLink() : BeginLink(tag.substr(1));
    if (!closing && (name == "head" || name == "style" || name == "script" || name == "title")) {
      SkipElement(name);
    } else if (name == "br") {
      ++breaks_;
      blank_ = false;
    } else if (name == "p") {
      Break(2);
    } else if (!closing && (name == "td" || name == "th")) {
      cell_ = !text_.empty() && breaks_ == 0;
    } else if (IsOneOf(kBlocks, name)) {
      Break(1);
      if (name == "pre") pre_ = !closing;
    }
  }

  void BeginLink(std::string_view attributes) {
    EndLink();
    link_ = Replace(Attribute(attributes, "href"), "&amp;", "&");
    // A link within the page has no address.
    if (link_.starts_with('#')) link_.clear();
    link_start_ = text_.size();
  }

  /// Appends the link's address unless its text shows it.
  void EndLink() {
    const std::string link = std::exchange(link_, "");
    const auto words = std::string_view(text_).substr(std::min(link_start_, text_.size()));
    if (link.empty() || words.find(WithoutScheme(link)) != std::string_view::npos) return;
    const bool is_apart = blank_ || breaks_ > 0 || words.empty();
    Put((is_apart ? "<" : " <") + link + ">");
  }

  static std::string_view WithoutScheme(std::string_view link) {
    for (const std::string_view scheme : {"https://", "http://", "mailto:"}) {
      if (link.starts_with(scheme)) link.remove_prefix(scheme.size());
    }
    return link.ends_with('/') ? link.substr(0, link.size() - 1) : link;
  }

  void SkipElement(const std::string& name) {
    const std::string end = "</" + name;
    auto at = rest_.find("</");
    while (at != std::string_view::npos && LCase(rest_.substr(at, end.size())) != end) {
      at = rest_.find("</", at + 2);
    }
    rest_.remove_prefix(at == std::string_view::npos ? rest_.size() : at);
    SkipPast(">");
  }

  void TakeReference() {
    const auto end = rest_.substr(0, kLongestReference + 2).find(';');
    const auto code =
        end == std::string_view::npos ? std::nullopt : Reference(rest_.substr(1, end - 1));
    if (!code) return TakeCharacter();
    Put(*code == 0xA0 ? " " : Utf8(*code));
    rest_.remove_prefix(end + 1);
  }

  void TakeCharacter() {
    const char c = rest_[0];
    rest_.remove_prefix(1);
    if (pre_ && c == '\n') {
      ++breaks_;
    } else if (!pre_ && IsSpace(c)) {
      blank_ = !text_.empty() && breaks_ == 0;
    } else if (!pre_ || c != '\r') {
      Put({&c, 1});
    }
  }

  void Break(int lines) {
    breaks_ = std::max(breaks_, lines);
    blank_ = cell_ = false;
  }

  void Put(std::string_view piece) {
    for (; breaks_ > 0; --breaks_) {
      if (!text_.empty()) text_ += kCrLf;
    }
    if (cell_) {
      text_ += '\t';
    } else if (blank_) {
      text_ += ' ';
    }
    blank_ = cell_ = false;
    text_ += piece;
  }

  std::string_view rest_;
  std::string text_;
  int breaks_ = 0;
  bool blank_ = false;
  /// Separates a table cell from the one before it.
  bool cell_ = false;
  bool pre_ = false;
  std::string link_;
  std::size_t link_start_ = 0;
};

}  // namespace

std::string HtmlToText(std::string_view html) {
  return TextOfHtml(html).Convert();
}

std::size_t StartOfBody(std::string_view html) {
  const std::string lower = LCase(html);
  const auto body = lower.size() == html.size() ? lower.find("<body") : std::string::npos;
  const auto end = body == std::string::npos ? body : html.find('>', body);
  return end == std::string_view::npos ? 0 : end + 1;
}

std::string TextToHtml(std::string_view text) {
  std::string html;
  html.reserve(text.size() + text.size() / 8);
  for (const char c : text) {
    if (c == '&') {
      html += "&amp;";
    } else if (c == '<') {
      html += "&lt;";
    } else if (c == '>') {
      html += "&gt;";
    } else if (c == '\n') {
      html += "<BR>\r\n";
    } else if (c != '\r') {
      html += c;
    }
  }
  return html;
}

}  // namespace corvessa
