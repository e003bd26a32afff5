#pragma once

#include "windows/outlook/json_mail.h"

/// What a user has set up before Outlook starts: settings, secured addresses and keys.
namespace corvessa::testing {

/// Changes a setting of the add-in by its "name" to the "value".
Json Set(const Json& command);
/// Secures an "address", as the settings dialog stores it; "sign" signs what is sent from it.
Json Account(const Json& command);
/// Upkeep of the key rings through the engine component: the "action" generate, export or import.
Json Key(const Json& command);

}  // namespace corvessa::testing
