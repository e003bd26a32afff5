#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvessa::desk::mail {

struct Mailbox;

// What stands in a header field, from its raw text: folded or not, encoded or raw 8-bit. The
// results are UTF-8 without control characters, so that nothing decoded can act as a line of its
// own.

std::string DecodeText(std::string_view raw);
/// All mailboxes, those of groups too; what is none becomes one without an address.
std::vector<Mailbox> DecodeMailboxes(std::string_view raw);
/// Without angle brackets; what is no identifier is left out.
std::vector<std::string> DecodeIdentifiers(std::string_view raw);
std::optional<std::time_t> DecodeDate(const std::string& raw);

/// The same header text on one line, raw 8-bit as UTF-8, with adjacent base64 words of one
/// character set made one word. GMime 3.2.13 stops at the padding of the first of them and drops
/// all that follow.
std::string JoinEncodedWords(std::string_view raw);

/// Text with control characters (line ends are some) as blanks, trimmed, and as valid UTF-8.
std::string OneLine(std::string_view text);

}  // namespace corvessa::desk::mail
