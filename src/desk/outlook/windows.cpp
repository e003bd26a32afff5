#include "desk/outlook/windows.h"

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
  Called("Explorer.CommandBars");
  return bars_;
}

platform::Subscription ExplorerWindow::Subscribe(platform::ExplorerEvents& sink) {
  Called("Explorer.Subscribe");
  return sinks_.Add(sink);
}

InspectorWindow::InspectorWindow(WorldPtr world, ItemPtr item)
    : Connected(std::move(world)),
      item_(std::move(item)),
      word_mail_(world_->word_mail),
      bars_(std::make_shared<desk::Bars>(world_, desk::Bars::Window::kInspector)) {}

void InspectorWindow::Remove() {
  state_ = State::kClosed;
  Disconnect();
  bars_->Remove();
}

platform::MailItemPtr InspectorWindow::CurrentItem() {
  Called("Inspector.CurrentItem");
  return item_;
}

platform::CommandBarsPtr InspectorWindow::CommandBars() {
  Called("Inspector.CommandBars");
  return bars_;
}

bool InspectorWindow::IsWordMail() {
  Called("Inspector.IsWordMail");
  return word_mail_;
}

platform::Subscription InspectorWindow::Subscribe(platform::InspectorEvents& sink) {
  Called("Inspector.Subscribe");
  return sinks_.Add(sink);
}

platform::Subscription ExplorerCollection::Subscribe(platform::ExplorersEvents& sink) {
  world_->Called("Explorers.Subscribe");
  return sinks_.Add(sink);
}

platform::Subscription InspectorCollection::Subscribe(platform::InspectorsEvents& sink) {
  world_->Called("Inspectors.Subscribe");
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
  world_->Called("Application.Version");
  return world_->Version();
}

platform::ExplorersPtr OutlookApplication::Explorers() {
  world_->Called("Application.Explorers");
  return explorers_;
}

platform::InspectorsPtr OutlookApplication::Inspectors() {
  world_->Called("Application.Inspectors");
  return inspectors_;
}

platform::ExplorerPtr OutlookApplication::ActiveExplorer() {
  world_->Called("Application.ActiveExplorer");
  return explorer_windows.empty() ? nullptr : explorer_windows.back();
}

platform::InspectorPtr OutlookApplication::ActiveInspector() {
  world_->Called("Application.ActiveInspector");
  return ActiveWindow();
}

platform::Subscription OutlookApplication::Subscribe(platform::ApplicationEvents& sink) {
  world_->Called("Application.Subscribe");
  return sinks_.Add(sink);
}

}  // namespace corvessa::desk
