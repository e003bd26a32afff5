#pragma once

#include <concepts>
#include <string_view>

#include "base/guard.h"
#include "base/trace_sink.h"

namespace corvessa::Debug_Info {

/// TraceLog for a text that costs something to build: the maker runs only when the switch is on.
template <std::invocable Maker>
void TraceLog(Maker&& make_message) noexcept {
  if (g_bLogDebuggingInfo) Ignoring([&] { WriteTraceLine(make_message()); });
}

/// One line for each attribute set, in the order read-only, hidden, system, directory, archive.
void TraceFileAttributes(std::string_view path) noexcept;

}  // namespace corvessa::Debug_Info
