#pragma once

#include <memory>
#include <string>
#include <vector>

#include "desk/outlook/bars.h"
#include "desk/outlook/item.h"
#include "desk/outlook/world.h"
#include "platform/outlook.h"

/// Outlook's application object, its folder windows and its collections of windows.
namespace corvessa::desk {

/// A folder window. Once it is closed, every call on it fails.
class ExplorerWindow final : public platform::Explorer, public Connected {
 public:
  explicit ExplorerWindow(WorldPtr world);

  desk::Bars& Bars() const { return *bars_; }
  const SinkList<platform::ExplorerEvents>& Events() const { return sinks_; }
  void Remove();

  platform::CommandBarsPtr CommandBars() override;
  platform::Subscription Subscribe(platform::ExplorerEvents& sink) override;

 private:
  BarsPtr bars_;
  SinkList<platform::ExplorerEvents> sinks_;
};
using ExplorerWindowPtr = std::shared_ptr<ExplorerWindow>;

class ExplorerCollection final : public platform::Explorers {
 public:
  explicit ExplorerCollection(WorldPtr world) : world_(std::move(world)) {}
  platform::Subscription Subscribe(platform::ExplorersEvents& sink) override;
  const SinkList<platform::ExplorersEvents>& Events() const { return sinks_; }

 private:
  WorldPtr world_;
  SinkList<platform::ExplorersEvents> sinks_;
};

class InspectorCollection final : public platform::Inspectors {
 public:
  explicit InspectorCollection(WorldPtr world) : world_(std::move(world)) {}
  platform::Subscription Subscribe(platform::InspectorsEvents& sink) override;
  const SinkList<platform::InspectorsEvents>& Events() const { return sinks_; }

 private:
  WorldPtr world_;
  SinkList<platform::InspectorsEvents> sinks_;
};

/// The application and its open windows, the active one last.
class OutlookApplication final : public platform::Application {
 public:
  explicit OutlookApplication(WorldPtr world);

  std::vector<ExplorerWindowPtr> explorer_windows;
  std::vector<InspectorWindowPtr> inspector_windows;
  const SinkList<platform::ApplicationEvents>& Events() const { return sinks_; }
  const SinkList<platform::ExplorersEvents>& ExplorersEvents() const {
    return explorers_->Events();
  }
  const SinkList<platform::InspectorsEvents>& InspectorsEvents() const {
    return inspectors_->Events();
  }
  /// The active inspector; null when none is shown.
  InspectorWindowPtr ActiveWindow() const;

  std::string Version() override;
  platform::ExplorersPtr Explorers() override;
  platform::InspectorsPtr Inspectors() override;
  platform::ExplorerPtr ActiveExplorer() override;
  platform::InspectorPtr ActiveInspector() override;
  platform::Subscription Subscribe(platform::ApplicationEvents& sink) override;

 private:
  WorldPtr world_;
  std::shared_ptr<ExplorerCollection> explorers_;
  std::shared_ptr<InspectorCollection> inspectors_;
  SinkList<platform::ApplicationEvents> sinks_;
};

}  // namespace corvessa::desk
