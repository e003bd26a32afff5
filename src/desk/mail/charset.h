#pragma once

#include <string>
#include <string_view>

namespace corvessa::desk::mail {

/// A body's bytes as UTF-8. The label is believed when it is known and fits every byte; else bytes
/// that are UTF-8 are taken for that, mostly-UTF-8 ones keep what is readable, and the rest is read
/// by the label or as windows-1252 (which also is what Latin-1 labels mean in practice). What
/// cannot be decoded becomes U+FFFD. A byte order mark at the start is dropped.
std::string BodyToUtf8(std::string_view bytes, const std::string& label);

/// Header text with every byte that is not UTF-8 replaced by U+FFFD.
std::string ValidUtf8(std::string_view text);

/// All line ends (CRLF, LF, CR, and CRs before an LF) as the one given.
std::string WithLineEnds(std::string_view text, std::string_view line_end);

}  // namespace corvessa::desk::mail
