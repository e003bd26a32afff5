#pragma once

#include <cstdint>
#include <string_view>

#include "platform/ui.h"

namespace corvessa {

/// The one message box: over the foreground window, titled with the long product name. OK, or OK
/// and Cancel; the information icon, or the stop icon.
/// platform::kAnswerOk when OK was pressed, platform::kAnswerCancel otherwise.
std::int32_t ShowMessageBox(std::string_view text, bool ask, bool error);

/// The forms it is shown in: OK with the information icon, OK with the stop icon, and a question,
/// true when OK was pressed.
void Tell(std::string_view text);
void TellError(std::string_view text);
bool Confirm(std::string_view text);

}  // namespace corvessa
