#pragma once

#include <functional>
#include <nlohmann/json.hpp>

#include "desk/failure.h"

namespace corvessa::desk {

struct CommandContext;
class DeskHost;

/// Runs the rest of a command that has a message open. When it fails, --json still gets an object:
/// resultCode, error, the boxes that were shown, and what `nothing_done` holds.
Outcome ReportingFailures(CommandContext& context, DeskHost& host,
                          const std::function<Outcome()>& run,
                          const nlohmann::json& nothing_done = {});

}  // namespace corvessa::desk
