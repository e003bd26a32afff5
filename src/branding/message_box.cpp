#include "branding/message_box.h"

#include "base/guard.h"
#include "platform/host.h"
#include "platform/ui.h"
#include "settings/edition.h"

namespace corvessa {

std::int32_t ShowMessageBox(std::string_view text, bool ask, bool error) {
  return Guarded(":ShowMessageBox - ", platform::kAnswerCancel, [&] {
    const std::int32_t buttons = ask ? platform::kBoxOkCancel : platform::kBoxOk;
    const std::int32_t icon = error ? platform::kBoxError : platform::kBoxInformation;
    const std::int32_t answer =
        platform::Host().ui.ShowBox(text, Customization::AppLongName(), icon | buttons);
    return answer == platform::kAnswerOk ? platform::kAnswerOk : platform::kAnswerCancel;
  });
}

void Tell(std::string_view text) {
  ShowMessageBox(text, false, false);
}

void TellError(std::string_view text) {
  ShowMessageBox(text, false, true);
}

bool Confirm(std::string_view text) {
  return ShowMessageBox(text, true, false) == platform::kAnswerOk;
}

}  // namespace corvessa
