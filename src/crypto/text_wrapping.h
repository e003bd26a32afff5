#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corvessa {

/// Line length that plain mail carries unbroken.
inline constexpr std::size_t kWrapWidth = 76;

/// Breaks lines longer than `width` characters: at the last blank, which CR LF replaces, or after
/// the last "," or "-" within the width; hard at the width when there is none. Line ends that are
/// there stay as they are. A width of 0 breaks nothing.
std::string WrapText(std::string_view text, std::size_t width = kWrapWidth);

}  // namespace corvessa
