#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corvessa::desk {

/// The text of an HTML body, as the plain body beside it shows it: white space runs become one
/// blank (kept inside <pre>), <br> and the borders of blocks become CR LF, a paragraph leaves an
/// empty line, head, style, script and comments go, character references are resolved (unknown ones
/// stand as they are). A link's address follows its words in angle brackets unless they tell it;
/// pictures leave nothing. Linear in its length.
std::string HtmlToText(std::string_view html);

/// Where what belongs into an HTML body begins: behind its body tag, or 0.
std::size_t StartOfBody(std::string_view html);

/// Text as the content of an HTML body: marks escaped, line ends as <BR>.
std::string TextToHtml(std::string_view text);

}  // namespace corvessa::desk
