#pragma once

#include <string_view>

namespace corvessa::platform {

/// Shell execution.
class Shell {
 public:
  virtual ~Shell() = default;
  /// Opens an http or https page in the user's browser. The address is handed over as one argument,
  /// never through a command line; the caller has checked its scheme. Throws Error when that fails.
  virtual void OpenPage(std::string_view url) = 0;
};

}  // namespace corvessa::platform
