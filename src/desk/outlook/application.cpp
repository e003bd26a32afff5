#include "desk/outlook/application.h"

#include <algorithm>
#include <utility>

namespace corvessa::desk {

ExplorerWindow::ExplorerWindow(WorldPtr world)
    : Connected(std::move(world)),
      bars_(std::make_shared<desk::Bars>(world_, desk::Bars::Window::kExplorer)) {}

void ExplorerWindow::Remove() {
  Disconnect();
  bars_->Remove();
}

platform::CommandBarsPtr ExplorerWindow::CommandBars() {
  RequireConnected();
  return bars_;
}

platform::Subscription ExplorerWindow::Subscribe(platform::ExplorerEvents& sink) {
  RequireConnected();
  return sinks_.Add(sink);
}

platform::Subscription ExplorerCollection::Subscribe(platform::ExplorersEvents& sink) {
  return sinks_.Add(sink);
}

platform::Subscription InspectorCollection::Subscribe(platform::InspectorsEvents& sink) {
  return sinks_.Add(sink);
}

OutlookApplication::OutlookApplication(WorldPtr world)
    : world_(std::move(world)),
      explorers_(std::make_shared<ExplorerCollection>(world_)),
      inspectors_(std::make_shared<InspectorCollection>(world_)) {}

InspectorWindowPtr OutlookApplication::ActiveWindow() const {
  const auto active =
      std::find_if(inspector_windows.rbegin(), inspector_windows.rend(), [](const auto& window) {
        return window->CurrentState() == InspectorWindow::State::kShown ||
               window->CurrentState() == InspectorWindow::State::kClosing;
      });
  return active == inspector_windows.rend() ? nullptr : *active;
}

std::string OutlookApplication::Version() {
  return world_->Version();
}

platform::ExplorersPtr OutlookApplication::Explorers() {
  return explorers_;
}

platform::InspectorsPtr OutlookApplication::Inspectors() {
  return inspectors_;
}

platform::ExplorerPtr OutlookApplication::ActiveExplorer() {
  return explorer_windows.empty() ? nullptr : explorer_windows.back();
}

platform::InspectorPtr OutlookApplication::ActiveInspector() {
  return ActiveWindow();
}

platform::Subscription OutlookApplication::Subscribe(platform::ApplicationEvents& sink) {
  return sinks_.Add(sink);
}

}  // namespace corvessa::desk
