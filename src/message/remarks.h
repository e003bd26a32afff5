#pragma once

#include <string>
#include <vector>

#include "platform/observer.h"

namespace corvessa {

/// What a user must know of a message besides its two statuses, a sentence each; empty for most
/// messages.
std::vector<std::string> RemarksOn(const platform::MessageFacts& facts);

}  // namespace corvessa
