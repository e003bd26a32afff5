#pragma once

#include <memory>

namespace corvessa::platform {

/// Holds an event subscription; dropping it ends it. A sink whose subscription has ended, also from
/// inside one of its own events, is not called again.
using Subscription = std::shared_ptr<void>;

}  // namespace corvessa::platform
