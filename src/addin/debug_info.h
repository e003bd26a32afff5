#pragma once

#include <concepts>
#include <string>
#include <string_view>

#include "base/guard.h"

namespace corvessa {

/// The switch of the trace log, one of the settings that RegistryHandlers loads and saves. Declared
/// here so that whoever traces needs to know nothing else.
extern bool g_bLogDebuggingInfo;

/// The trace log: one time-stamped line a call, opened and closed for each so that nothing is held
/// between calls.
namespace Debug_Info {

inline constexpr std::string_view kTraceFile = "c:\\Nimbra_trace.txt";

/// Appends the current date and time, ": ", the message and CR LF, whatever the switch says. Every
/// failure is swallowed: the line is lost and the caller carries on.
void WriteTraceLine(std::string_view message) noexcept;

/// One line when the switch is on; one test of a boolean when it is off.
inline void TraceLog(std::string_view message) noexcept {
  if (g_bLogDebuggingInfo) WriteTraceLine(message);
}

/// The same for a text that costs something to build: the maker runs only when the switch is on.
template <std::invocable Maker>
void TraceLog(Maker&& make_message) noexcept {
  if (g_bLogDebuggingInfo) Ignoring([&] { WriteTraceLine(make_message()); });
}

/// One line for each attribute set, in the order read-only, hidden, system, directory, archive.
void TraceFileAttributes(std::string_view path) noexcept;

}  // namespace Debug_Info
}  // namespace corvessa
