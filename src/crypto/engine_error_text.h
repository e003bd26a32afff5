#pragma once

#include <cstdint>
#include <string_view>

namespace corvessa {

/// The user's text for a failed operation. Call it only after a failure: 0 has a failure text too.
std::string_view EngineErrorText(std::int32_t code);

}  // namespace corvessa
