#pragma once

#include <cstdint>
#include <string_view>

namespace corvessa {

/// The user's text for an engine status. To be asked once an operation has failed: 0 is a failure
/// too then.
std::string_view EngineErrorText(std::int32_t code);

}  // namespace corvessa
