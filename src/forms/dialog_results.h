#pragma once

#include <cstdint>

namespace corvessa {

/// What the dialogs that return a choice answer; the values of the standard message box, and two of
/// the add-in's own.
inline constexpr std::int32_t kResultOk = 1;
inline constexpr std::int32_t kResultCancel = 2;
inline constexpr std::int32_t kResultClosed = 3;
inline constexpr std::int32_t kResultSendAsIs = 5;
/// Yes, or convert.
inline constexpr std::int32_t kResultYes = 6;
inline constexpr std::int32_t kResultNo = 7;

}  // namespace corvessa
