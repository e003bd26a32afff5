#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/checked.h"
#include "platform/engine.h"

namespace corvessa {

/// One text of an engine's vector, counted from 0. Throws Error 6 beyond what the vector counts to.
inline std::string TextAt(const platform::IEngineStringVector& texts, std::int32_t index) {
  return texts.Item(CheckedNarrow<std::int16_t>(index));
}

inline std::vector<std::string> TextsOf(const platform::IEngineStringVector& texts) {
  std::vector<std::string> copied;
  for (std::int32_t i = 0; i < texts.Size(); ++i) copied.push_back(TextAt(texts, i));
  return copied;
}

}  // namespace corvessa
