#pragma once

#include <string_view>

namespace corvessa {

/// Height in pixels of one line in the dialog font.
inline constexpr int kTextLineHeight = 13;

/// How many lines a text takes in a label of that width, wrapped at blanks; at least one. A word
/// wider than the label is broken.
int WrappedLineCount(std::string_view text, int width);

}  // namespace corvessa
