#pragma once

#include <cstdint>
#include <string_view>

#include "platform/registry.h"

namespace corvessa {

/// The account subkey's value for m_bSigning.
inline constexpr std::string_view kSignValue = "Sign";

/// Truth values are kept sign-extended from their 16 bits: True is 0xFFFFFFFF. Anything but 0 reads
/// as true.
inline bool ReadFlag(platform::RegistryKey& key, std::string_view name) {
  return key.ReadNumber(name) != 0;
}

/// A value that cannot be written is lost.
inline void WriteFlag(platform::RegistryKey& key, std::string_view name, bool flag) {
  static_cast<void>(key.WriteNumber(name, flag ? std::int32_t{-1} : std::int32_t{0}));
}

}  // namespace corvessa
