#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

/// Texts that others have chosen, among lines that are the program's own: nothing in them can be
/// taken for one of those.
namespace corvessa::desk {

/// In one line, with one blank for each run of blanks of any kind, and cut where it would be longer
/// than anybody reads.
std::string FieldText(std::string_view text);

/// A label and its text, which goes on in lines indented by `indent`, the label's length or more,
/// where it is longer than a line.
void PrintField(std::ostream& out, std::string_view label, std::string_view text, int columns,
                std::size_t indent);

}  // namespace corvessa::desk
