#pragma once

#include <string_view>

namespace corvessa {

/// The switch of the trace log, one of the settings that RegistryHandlers loads and saves.
extern bool g_bLogDebuggingInfo;

/// Where trace lines go. The trace log (addin/trace_log.h) installs itself here, so that the ground
/// can trace without knowing the files that the log is written to. A sink must not throw.
using TraceSink = void (*)(std::string_view message) noexcept;

/// Null drops every line. Gives the sink that was installed before.
TraceSink SetTraceSink(TraceSink sink) noexcept;

namespace Debug_Info {

/// Hands the line to the sink, whatever the switch says.
void WriteTraceLine(std::string_view message) noexcept;

/// One line when the switch is on; one test of a boolean when it is off.
inline void TraceLog(std::string_view message) noexcept {
  if (g_bLogDebuggingInfo) WriteTraceLine(message);
}

}  // namespace Debug_Info
}  // namespace corvessa
