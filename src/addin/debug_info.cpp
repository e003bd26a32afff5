#include "addin/debug_info.h"

#include <cstdint>

#include "base/guard.h"
#include "base/text.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/host.h"

namespace corvessa {

bool g_bLogDebuggingInfo = false;

namespace Debug_Info {
namespace {

struct NamedAttribute {
  std::uint32_t bit;
  std::string_view line;
};

constexpr NamedAttribute kAttributes[] = {
    {platform::kAttributeReadOnly, "Attribute: Read Only"},
    {platform::kAttributeHidden, "Attribute: Hidden"},
    {platform::kAttributeSystem, "Attribute: System"},
    {platform::kAttributeDirectory, "Attribute: Directory"},
    {platform::kAttributeArchive, "Attribute: Archive"},
};

}  // namespace

void WriteTraceLine(std::string_view message) noexcept {
  Ignoring([&] {
    std::string line = platform::Host().clock.DateTimeText();
    // The names of files come from outside, and the file may be read on a terminal.
    line.append(": ").append(Replace(ForDisplayLines(message), "\n", kCrLf)).append(kCrLf);
    platform::Host().files.AppendText(kTraceFile, line);
  });
}

void TraceFileAttributes(std::string_view path) noexcept {
  if (!g_bLogDebuggingInfo) return;
  Guarded("Debug_Info:TraceFileAttributes - ", [&] {
    const std::uint32_t attributes = platform::Host().files.Attributes(path);
    for (const NamedAttribute& attribute : kAttributes) {
      if ((attributes & attribute.bit) != 0) WriteTraceLine(attribute.line);
    }
  });
}

}  // namespace Debug_Info
}  // namespace corvessa
