#include "base/debug_info.h"

#include <cstdint>
#include <utility>

#include "platform/files.h"
#include "platform/host.h"

namespace corvessa {
namespace {

TraceSink installed_sink = nullptr;

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

bool g_bLogDebuggingInfo = false;

TraceSink SetTraceSink(TraceSink sink) noexcept {
  return std::exchange(installed_sink, sink);
}

namespace Debug_Info {

void WriteTraceLine(std::string_view message) noexcept {
  if (installed_sink) installed_sink(message);
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
