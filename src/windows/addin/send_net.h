#pragma once

#include "addin/send_check.h"
#include "platform/outlook.h"

namespace corvessa::windows {

/// The application with a net under its ItemSend: a mail that the add-in lets go without having
/// decided how it leaves, or that does not hold what was decided, is cancelled with an error box
/// and keeps its text. `recorder` must be the host's observer and outlive the result.
platform::ApplicationPtr WithSendNet(platform::ApplicationPtr application, SendRecorder& recorder);

}  // namespace corvessa::windows
