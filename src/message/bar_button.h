#pragma once

#include <functional>

#include "platform/command_bars.h"

namespace corvessa {

/// A command-bar button with its click event, held by whoever put it there. Dropping it ends the
/// event and leaves the button to its bar.
class BarButton final : public platform::CommandBarButtonEvents {
 public:
  using ClickHandler = std::function<void()>;

  BarButton() = default;
  BarButton(const BarButton&) = delete;
  BarButton& operator=(const BarButton&) = delete;

  /// `on_click` must keep alive what it uses; it may drop or bind this button again while it runs.
  void Bind(platform::CommandBarButtonPtr button, ClickHandler on_click);
  void Drop();
  bool IsBound() const { return button_ != nullptr; }
  /// The bound button; Error (91) when there is none.
  platform::CommandBarButton& Button() const;

 private:
  void Click(bool& cancel_default) override;

  platform::CommandBarButtonPtr button_;
  ClickHandler on_click_;
  platform::Subscription events_;
};

}  // namespace corvessa
