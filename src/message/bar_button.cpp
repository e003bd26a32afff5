#include "message/bar_button.h"

#include <utility>

#include "base/error.h"

namespace corvessa {

void BarButton::Bind(platform::CommandBarButtonPtr button, ClickHandler on_click) {
  Drop();
  button_ = std::move(button);
  on_click_ = std::move(on_click);
  events_ = button_->Subscribe(*this);
}

void BarButton::Drop() {
  events_.reset();
  on_click_ = nullptr;
  button_.reset();
}

platform::CommandBarButton& BarButton::Button() const {
  if (!button_) Raise(kObjectNotSet);
  return *button_;
}

void BarButton::Click(bool& /*cancel_default*/) {
  const ClickHandler running = on_click_;
  if (running) running();
}

}  // namespace corvessa
