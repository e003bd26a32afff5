#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace corvessa {

struct Version {
  std::int32_t major;
  std::int32_t minor;
  std::int32_t revision;
  auto operator<=>(const Version&) const = default;
};

/// The add-in's own.
Version RunningVersion();

/// As users see it: "1.0.0".
std::string TextOf(const Version& version);

}  // namespace corvessa
