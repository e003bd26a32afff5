#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvessa::engine {

/// Text as the add-in takes it, of what somebody encrypted: UTF-8 as it is; anything else was
/// written by a program of its time in the charset of western Windows, which Latin-1 means too.
/// Bytes that are neither stay as they are.
std::string ToUtf8(std::string bytes);

/// UTF-8 text in that charset; nothing when it is plain ASCII, where they do not differ, or holds
/// what that charset has not. Nothing either when the bytes would be UTF-8 themselves: they mean
/// another text than this one then, which somebody has made look like it by a wrong label.
std::optional<std::string> ToWindows1252(std::string_view text);

}  // namespace corvessa::engine
