#pragma once

#include <string_view>

namespace corvessa::Debug_Info {

/// The trace log: a file that grows, one time-stamped line for each TraceLog. It is opened and
/// closed for every line, so that nothing is held between calls.
inline constexpr std::string_view kTraceFile = "c:\\Nimbra_trace.txt";

/// Makes the file the sink of every trace line. Connect does it when it is created; installing
/// again changes nothing.
void InstallTraceLog() noexcept;

}  // namespace corvessa::Debug_Info
