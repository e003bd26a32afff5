#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corvessa {

/// The delete queue: paths of temporary files that are to go as soon as Outlook lets go of them.
/// The housekeeping timer works it off; close-down tries once more.
extern std::vector<std::string> g_colTempFiles;

/// Adds a path unless it is queued already.
void QueueForDeletion(std::string_view path);

}  // namespace corvessa
