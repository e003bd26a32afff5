#pragma once

#include "ui/control.h"

namespace corvessa::desk {

/// Whether a control is of one of the kinds.
template <typename... Kinds>
bool Is(const Control& control) {
  return (... || (dynamic_cast<const Kinds*>(&control) != nullptr));
}

}  // namespace corvessa::desk
