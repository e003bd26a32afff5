#pragma once

#include <string_view>

namespace corvessa {

/// At least five characters that end in ".sig", in any case.
bool HasSignatureName(std::string_view name);

/// The name without its last four characters: that of the data file. The view lives as long as the
/// name, which must be a signature's.
std::string_view SignedName(std::string_view name);

}  // namespace corvessa
