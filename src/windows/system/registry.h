#pragma once

#include "platform/registry.h"

namespace corvessa::windows {

/// The registry of this machine and user.
class WindowsRegistry final : public platform::Registry {
 public:
  WindowsRegistry();
  platform::RegistryKey& CurrentUser() override { return *current_user_; }
  platform::RegistryKey& LocalMachine() override { return *local_machine_; }

 private:
  platform::RegistryKeyPtr current_user_;
  platform::RegistryKeyPtr local_machine_;
};

}  // namespace corvessa::windows
