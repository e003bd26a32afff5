#include "ui/control.h"

#include <memory>
#include <utility>

#include "base/guard.h"
#include "ui/form.h"

namespace corvessa {

Control::Control(Form& form, std::string name, Rect bounds)
    : Bounds(bounds), form_(form), name_(std::move(name)) {
  form.AddControl(*this);
}

bool Control::IsShown() const {
  return Visible && (!container_ || container_->IsShown());
}

bool Control::IsUsable() const {
  return Enabled && (!container_ || container_->IsUsable());
}

void Control::RaiseEvent(std::string_view event, const Handler& handler) {
  if (!handler) return;
  const std::shared_ptr<Form> held = form_.shared_from_this();
  const std::string prefix = held->Name() + "::" + name_ + "_" + std::string(event) + " - ";
  // A copy: the handler may replace itself or end its form while it runs.
  const Handler running = handler;
  Guarded(prefix, [&] { running(); });
}

}  // namespace corvessa
