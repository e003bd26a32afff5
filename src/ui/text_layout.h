#pragma once

#include <string>
#include <string_view>

/// Texts measured as the Ui back end draws them, in the dialog font.
namespace corvessa {

/// Height in pixels of one line in the dialog font.
inline constexpr int kTextLineHeight = 13;

/// How many lines a text takes in a label of that width, wrapped at blanks; at least one. A word
/// wider than the label is broken.
int WrappedLineCount(std::string_view text, int width);

/// The text if it is no wider than that; else shortened by the end, which is "..." then, until it
/// fits. Never shorter than "...".
std::string FittedText(std::string_view text, int width);

}  // namespace corvessa
