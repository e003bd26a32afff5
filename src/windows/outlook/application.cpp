#include "windows/com/event_sink.h"
#include "windows/com/variant.h"
#include "windows/outlook/event_ids.h"
#include "windows/outlook/outlook.h"

namespace corvessa::windows {
namespace {

class LateBoundExplorer final : public LateBound<platform::Explorer> {
 public:
  using LateBound::LateBound;

  platform::CommandBarsPtr CommandBars() override {
    return WrapCommandBars(object_.GetObjectProperty("CommandBars"));
  }
  platform::Subscription Subscribe(platform::ExplorerEvents& sink) override {
    return com::Subscribe(object_.Get(), kExplorerEvents, [&sink](DISPID event, auto&) {
      if (event == kExplorerClose) sink.Close();
    });
  }
};

class LateBoundExplorers final : public LateBound<platform::Explorers> {
 public:
  using LateBound::LateBound;

  platform::Subscription Subscribe(platform::ExplorersEvents& sink) override {
    return com::Subscribe(object_.Get(), kExplorersEvents, [&sink](DISPID event, auto& arguments) {
      if (event != kNewWindow) return;
      sink.NewExplorer(std::make_shared<LateBoundExplorer>(arguments.Object(0)));
    });
  }
};

class LateBoundInspectors final : public LateBound<platform::Inspectors> {
 public:
  using LateBound::LateBound;

  platform::Subscription Subscribe(platform::InspectorsEvents& sink) override {
    return com::Subscribe(object_.Get(), kInspectorsEvents, [&sink](DISPID event, auto& arguments) {
      if (event == kNewWindow) {
        sink.NewInspector(WrapInspector(arguments.Object(0)));
      }
    });
  }
};

class LateBoundInspector final : public LateBound<platform::Inspector> {
 public:
  using LateBound::LateBound;

  platform::MailItemPtr CurrentItem() override {
    return WrapItem(object_.GetObjectProperty("CurrentItem"));
  }
  platform::CommandBarsPtr CommandBars() override {
    return WrapCommandBars(object_.GetObjectProperty("CommandBars"));
  }
  bool IsWordMail() override { return object_.Call("IsWordMail").Flag(); }
  platform::Subscription Subscribe(platform::InspectorEvents& sink) override {
    return com::Subscribe(object_.Get(), kInspectorEvents, [&sink](DISPID event, auto&) {
      if (event == kInspectorActivate) sink.Activate();
      if (event == kInspectorDeactivate) sink.Deactivate();
      if (event == kInspectorClose) sink.Close();
    });
  }
};

/// An item that cannot be looked at must not leave unprotected.
void RaiseItemSend(platform::ApplicationEvents& sink, com::EventArguments& arguments) {
  bool cancel = true;
  try {
    bool asked = arguments.Flag(1);
    sink.ItemSend(WrapItem(arguments.Object(0)), asked);
    cancel = asked;
  } catch (...) {
    // Cancelled.
  }
  arguments.SetFlag(1, cancel);
}

class LateBoundApplication final : public LateBound<platform::Application> {
 public:
  using LateBound::LateBound;

  std::string Version() override { return Text("Version"); }
  platform::ExplorersPtr Explorers() override {
    return std::make_shared<LateBoundExplorers>(object_.GetObjectProperty("Explorers"));
  }
  platform::InspectorsPtr Inspectors() override {
    return std::make_shared<LateBoundInspectors>(object_.GetObjectProperty("Inspectors"));
  }
  platform::ExplorerPtr ActiveExplorer() override {
    const DispatchPtr active = object_.Call("ActiveExplorer").Object();
    return active ? std::make_shared<LateBoundExplorer>(active) : nullptr;
  }
  platform::InspectorPtr ActiveInspector() override {
    const DispatchPtr active = object_.Call("ActiveInspector").Object();
    return active ? WrapInspector(active) : nullptr;
  }
  platform::Subscription Subscribe(platform::ApplicationEvents& sink) override {
    return com::Subscribe(object_.Get(), kApplicationEvents,
                          [&sink](DISPID event, auto& arguments) {
                            if (event == kItemSend) RaiseItemSend(sink, arguments);
                          });
  }
};

}  // namespace

platform::ApplicationPtr WrapApplication(DispatchPtr application) {
  return std::make_shared<LateBoundApplication>(std::move(application));
}

platform::InspectorPtr WrapInspector(DispatchPtr inspector) {
  return std::make_shared<LateBoundInspector>(std::move(inspector));
}

}  // namespace corvessa::windows
