#include "base/error.h"
#include "windows/com/event_sink.h"
#include "windows/com/variant.h"
#include "windows/outlook/event_ids.h"
#include "windows/outlook/outlook.h"

namespace corvessa::windows {
namespace {

using com::Missing;
using com::Variant;

/// msoControlButton.
constexpr std::int32_t kButtonType = 1;

class LateBoundButton final : public LateBound<platform::CommandBarButton> {
 public:
  using LateBound::LateBound;

  std::string Caption() override { return Text("Caption"); }
  void SetCaption(std::string_view caption) override { Put("Caption", caption); }
  void SetTooltipText(std::string_view text) override { Put("TooltipText", text); }
  void SetStyle(std::int32_t style) override { Put("Style", style); }
  void SetFaceId(std::int32_t face) override { Put("FaceId", face); }
  std::int32_t State() override { return Number("State"); }
  void SetState(std::int32_t state) override { Put("State", state); }
  void SetEnabled(bool enabled) override { Put("Enabled", enabled); }
  void SetBeginGroup(bool begins_group) override { Put("BeginGroup", begins_group); }
  void SetOnAction(std::string_view action) override { Put("OnAction", action); }
  void SetVisible(bool visible) override { Put("Visible", visible); }
  std::string Tag() override { return Text("Tag"); }
  void SetTag(std::string_view tag) override { Put("Tag", tag); }
  void PasteFace() override { object_.Call("PasteFace"); }
  void Delete() override { object_.Call("Delete"); }
  platform::Subscription Subscribe(platform::CommandBarButtonEvents& sink) override {
    return com::Subscribe(object_.Get(), kButtonEvents, [&sink](DISPID event, auto& arguments) {
      if (event != kButtonClick) return;
      bool cancel_default = arguments.Flag(1);
      sink.Click(cancel_default);
      arguments.SetFlag(1, cancel_default);
    });
  }
};

class LateBoundControls final : public LateBound<platform::CommandBarControls> {
 public:
  using LateBound::LateBound;

  std::int32_t Count() override { return Number("Count"); }
  platform::CommandBarButtonPtr Item(std::int32_t index) override {
    auto button = std::make_shared<LateBoundButton>(ItemOf(object_, index));
    if (button->Object().GetProperty("Type").Number() != kButtonType) Raise(kTypeMismatch);
    return button;
  }
  platform::CommandBarButtonPtr AddButton(bool temporary) override {
    // Type, Id, Parameter, Before, Temporary.
    return std::make_shared<LateBoundButton>(
        object_
            .Call("Add", {Variant(kButtonType).Get(), Missing(), Missing(), Missing(),
                          Variant(temporary).Get()})
            .Object());
  }

 private:
  static constexpr long kTypeMismatch = 13;
};

class LateBoundBar final : public LateBound<platform::CommandBar> {
 public:
  using LateBound::LateBound;

  std::string Name() override { return Text("Name"); }
  void SetVisible(bool visible) override { Put("Visible", visible); }
  void SetPosition(std::int32_t position) override { Put("Position", position); }
  platform::CommandBarControlsPtr Controls() override {
    return std::make_shared<LateBoundControls>(object_.GetObjectProperty("Controls"));
  }
  void Delete() override { object_.Call("Delete"); }
};

class LateBoundBars final : public LateBound<platform::CommandBars> {
 public:
  using LateBound::LateBound;

  std::int32_t Count() override { return Number("Count"); }
  platform::CommandBarPtr Item(std::int32_t index) override {
    return std::make_shared<LateBoundBar>(ItemOf(object_, index));
  }
  platform::CommandBarPtr ItemByName(std::string_view name) override {
    return std::make_shared<LateBoundBar>(object_.GetObjectProperty("Item", {Variant(name).Get()}));
  }
  platform::CommandBarPtr Add(std::string_view name, bool temporary) override {
    // Name, Position, MenuBar, Temporary.
    return std::make_shared<LateBoundBar>(
        object_.Call("Add", {Variant(name).Get(), Missing(), Missing(), Variant(temporary).Get()})
            .Object());
  }
};

}  // namespace

platform::CommandBarsPtr WrapCommandBars(DispatchPtr bars) {
  return std::make_shared<LateBoundBars>(std::move(bars));
}

}  // namespace corvessa::windows
