#pragma once

#include "platform/cdo.h"

namespace corvessa::windows {

/// Collaboration Data Objects as they are installed on this machine.
class ComCdo final : public platform::Cdo {
 public:
  platform::MAPISessionPtr CreateSession() override;
};

}  // namespace corvessa::windows
