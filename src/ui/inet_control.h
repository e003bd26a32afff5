#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "ui/control.h"

namespace corvessa {

/// The Internet transfer control: never drawn, fetches pages.
class Inet final : public Control {
 public:
  Inet(Form& form, std::string name) : Control(form, std::move(name), {}) {}
  std::string_view TypeName() const override { return "Inet"; }

  /// The body of a page as text. Throws Error when it could not be fetched.
  std::string OpenURL(std::string_view url) const;
};

}  // namespace corvessa
