#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corvessa {

/// The plain body of an HTML body. White space is collapsed except inside <pre>; <br> and block
/// borders become CRLF and a paragraph an empty line; head, style, script and comments are dropped;
/// known character references are resolved. A link's address follows its text in angle brackets
/// unless the text shows it; pictures leave nothing. Takes linear time.
std::string HtmlToText(std::string_view html);

/// The position after the body tag, or 0 without one.
std::size_t StartOfBody(std::string_view html);

/// Text for an HTML body: special characters escaped, line ends as <BR>.
std::string TextToHtml(std::string_view text);

}  // namespace corvessa
