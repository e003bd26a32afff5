#include "windows/com/entry.h"
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
        sink.NewInspector(WrapInspector(arguments.Object(0), true));
      }
    });
  }
};

class LateBoundInspector final : public LateBound<platform::Inspector>,
                                 public std::enable_shared_from_this<LateBoundInspector> {
 public:
  LateBoundInspector(DispatchPtr inspector, bool opened_now)
      : LateBound(std::move(inspector)), opened_now_(opened_now) {}

  /// Asked several times when a window opens.
  platform::MailItemPtr CurrentItem() override {
    auto item = asked_ == com::EntryCount() ? item_.lock() : nullptr;
    if (!item) item = WrapItem(object_.GetObjectProperty("CurrentItem"), weak_from_this());
    item_ = item;
    asked_ = com::EntryCount();
    return item;
  }
  /// A window has the same ones as long as it is open.
  platform::CommandBarsPtr CommandBars() override {
    if (bars_) return bars_;
    DispatchPtr bars = object_.GetObjectProperty("CommandBars");
    bars_ = opened_now_ ? WrapBarsOfNewInspector(std::move(bars), object_.Get())
                        : WrapCommandBars(std::move(bars));
    return bars_;
  }
  bool IsWordMail() override { return object_.Call("IsWordMail").Flag(); }
  platform::Subscription Subscribe(platform::InspectorEvents& sink) override {
    return com::Subscribe(object_.Get(), kInspectorEvents, [&sink](DISPID event, auto&) {
      if (event == kInspectorActivate) sink.Activate();
      if (event == kInspectorDeactivate) sink.Deactivate();
      if (event == kInspectorClose) sink.Close();
    });
  }

 private:
  const bool opened_now_;
  /// Not kept alive: its owner decides when Outlook gets it back.
  std::weak_ptr<platform::MailItem> item_;
  unsigned long asked_ = 0;
  platform::CommandBarsPtr bars_;
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

platform::InspectorPtr WrapInspector(DispatchPtr inspector, bool opened_now) {
  return std::make_shared<LateBoundInspector>(std::move(inspector), opened_now);
}

}  // namespace corvessa::windows
