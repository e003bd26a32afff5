#pragma once

#include <cstdint>
#include <string_view>

namespace corvessa {

/// The one message box: over the foreground window, titled with the long product name. OK, or OK
/// and Cancel; the information icon, or the stop icon. 1 when OK was pressed, 2 otherwise.
std::int32_t ShowMessageBox(std::string_view text, bool ask, bool error);

inline constexpr std::int32_t kBoxAnswerOk = 1;
inline constexpr std::int32_t kBoxAnswerCancel = 2;

}  // namespace corvessa
