#pragma once

#include <functional>

#include "desk/failure.h"

namespace corvessa::desk {

struct CommandContext;
class DeskHost;

/// Runs the rest of a command that has a message open. When it fails, --json still gets an object:
/// resultCode, error, sent (false) and the boxes that were shown.
Outcome ReportingFailures(CommandContext& context, DeskHost& host,
                          const std::function<Outcome()>& run);

}  // namespace corvessa::desk
