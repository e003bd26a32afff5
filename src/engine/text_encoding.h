#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corvessa::engine {

/// Text as the add-in takes it, of what somebody encrypted: Japanese mail by its escapes, and UTF-8
/// as it is; anything else was written by a program of its time in the charset of western Windows,
/// which Latin-1 means too. Bytes that are none of these stay as they are.
std::string ToUtf8(std::string bytes);

/// What UTF-8 text may have been when it was signed, in the charsets of mail before UTF-8 (western
/// Windows, Latin-9, Japanese), each once; nothing for plain ASCII. Bytes that are UTF-8 themselves
/// are left out: they mean another text than this one, which somebody has made look like it by a
/// wrong label. For that reason, too, there is no charset whose letters take up ASCII.
std::vector<std::string> EarlierEncodings(std::string_view text);

}  // namespace corvessa::engine
