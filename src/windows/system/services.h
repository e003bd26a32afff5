#pragma once

#include <random>

#include "platform/host.h"
#include "platform/system.h"

/// Small services of the system.
namespace corvessa::windows {

class WindowsShell final : public platform::Shell {
 public:
  void OpenPage(std::string_view url) override;
};

class WindowsClock final : public platform::Clock {
 public:
  std::string DateTimeText() override;
  void Randomize() override;
  double Random() override;

 private:
  std::mt19937_64 generator_;
};

/// Pages over WinINet, with the user's proxy. The windows of this thread stay alive meanwhile.
class WinInet final : public platform::Inet {
 public:
  std::string OpenURL(std::string_view url) override;
};

/// The version of the module that this code is part of, from its version resource, and its folder.
platform::ProductInfo ReadProductInfo();

}  // namespace corvessa::windows
