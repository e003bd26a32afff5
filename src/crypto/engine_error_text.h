#pragma once

#include <cstdint>
#include <string_view>

namespace corvessa {

// The engine's statuses that the logic looks at.
inline constexpr std::int32_t kStatusWrongPassphrase = -4;
inline constexpr std::int32_t kStatusIOError = -8;
inline constexpr std::int32_t kStatusBadFormat = -9;
inline constexpr std::int32_t kStatusSignatureTrouble = -10;
inline constexpr std::int32_t kStatusUnexpected = -11;
inline constexpr std::int32_t kStatusNoKey = -13;
inline constexpr std::int32_t kStatusCannotTell = -16;

/// The user's text for an engine status. To be asked once an operation has failed: 0 is a failure
/// too then.
std::string_view EngineErrorText(std::int32_t code);

}  // namespace corvessa
