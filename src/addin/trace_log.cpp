#include "addin/trace_log.h"

#include <string>

#include "base/guard.h"
#include "base/text.h"
#include "base/trace_sink.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/system.h"

namespace corvessa::Debug_Info {
namespace {

/// Appends the current date and time, ": ", the message and CR LF. Every failure is swallowed: the
/// line is lost and the caller carries on.
void AppendLine(std::string_view message) noexcept {
  Ignoring([&] {
    std::string line = platform::Host().clock.DateTimeText();
    // File names come from outside, and the file may be read on a terminal.
    line.append(": ").append(Replace(ForDisplayLines(message), "\n", kCrLf)).append(kCrLf);
    platform::Host().files.AppendText(kTraceFile, line);
  });
}

}  // namespace

void InstallTraceLog() noexcept {
  SetTraceSink(AppendLine);
}

}  // namespace corvessa::Debug_Info
