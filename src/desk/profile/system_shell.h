#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/shell.h"

namespace corvessa::desk {

/// Opens pages with the desktop's own opener, which runs on by itself. Refuses (Error 5) whatever
/// is no http or https address or holds a control character; throws Error 53 when the opener cannot
/// be started.
class SystemShell final : public platform::Shell {
 public:
  explicit SystemShell(std::string opener = "xdg-open") : opener_(std::move(opener)) {}
  void OpenPage(std::string_view url) override;

 private:
  std::string opener_;
};

}  // namespace corvessa::desk
