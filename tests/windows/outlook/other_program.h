#pragma once

#include "windows/outlook/json_mail.h"

namespace corvessa::testing {

/// What another program does with CryptoOperations: asks for the key of the "address" and, unless
/// the item is null, takes its attachments.
Json CallCrypto(const Json& command, const desk::ItemPtr& item);

}  // namespace corvessa::testing
