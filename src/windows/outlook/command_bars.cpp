#include <optional>
#include <set>
#include <string>

#include "base/error.h"
#include "base/guard.h"
#include "windows/com/entry.h"
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

/// What Office says of a button that nobody has changed since it was added. Every opening builds
/// several, so that a value which a button has already is not set.
struct NewButton {
  bool is_visible = true;
  bool begins_group = false;
  std::string caption = {};
  /// The tooltip is the caption until it is set.
  bool has_tooltip = false;
};

class LateBoundButton final : public LateBound<platform::CommandBarButton> {
 public:
  explicit LateBoundButton(DispatchPtr button, std::optional<NewButton> known = std::nullopt)
      : LateBound(std::move(button)), known_(std::move(known)) {}

  std::string Caption() override { return Text("Caption"); }
  void SetCaption(std::string_view caption) override {
    // The tooltip was left to the caption that goes.
    if (tooltip_is_caption_) PutTooltip(known_->caption);
    Put("Caption", caption);
    if (known_) known_->caption = caption;
  }
  void SetTooltipText(std::string_view text) override {
    tooltip_is_caption_ = known_ && !known_->has_tooltip && known_->caption == text;
    if (!tooltip_is_caption_) PutTooltip(text);
  }
  void SetStyle(std::int32_t style) override { Put("Style", style); }
  void SetFaceId(std::int32_t face) override { Put("FaceId", face); }
  std::int32_t State() override { return Number("State"); }
  void SetState(std::int32_t state) override { Put("State", state); }
  void SetEnabled(bool enabled) override { Put("Enabled", enabled); }
  void SetBeginGroup(bool begins_group) override {
    if (known_ && known_->begins_group == begins_group) return;
    Put("BeginGroup", begins_group);
    if (known_) known_->begins_group = begins_group;
  }
  void SetOnAction(std::string_view action) override { Put("OnAction", action); }
  void SetVisible(bool visible) override {
    if (known_ && known_->is_visible == visible) return;
    Put("Visible", visible);
    if (known_) known_->is_visible = visible;
  }
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

 private:
  void PutTooltip(std::string_view text) {
    Put("TooltipText", text);
    tooltip_is_caption_ = false;
    if (known_) known_->has_tooltip = true;
  }

  /// Missing for a button that was there before.
  std::optional<NewButton> known_;
  bool tooltip_is_caption_ = false;
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
            .Object(),
        NewButton());
  }

 private:
  static constexpr long kTypeMismatch = 13;
};

class LateBoundBar final : public LateBound<platform::CommandBar> {
 public:
  using LateBound::LateBound;

  std::string Name() override { return Text("Name"); }
  void SetVisible(bool visible) override { Put("Visible", visible); }
  platform::CommandBarControlsPtr Controls() override {
    return std::make_shared<LateBoundControls>(object_.GetObjectProperty("Controls"));
  }
  void Delete() override { object_.Call("Delete"); }
};

/// Names of the bars that were added in any window.
std::set<std::string, std::less<>>& AddedBars() {
  static std::set<std::string, std::less<>> names;
  return names;
}

class LateBoundBars final : public LateBound<platform::CommandBars> {
 public:
  LateBoundBars(DispatchPtr bars, DispatchPtr new_inspector)
      : LateBound(std::move(bars)), new_inspector_(std::move(new_inspector)) {}

  std::int32_t Count() override { return Number("Count"); }
  platform::CommandBarPtr Item(std::int32_t index) override {
    return std::make_shared<LateBoundBar>(ItemOf(object_, index));
  }
  platform::CommandBarPtr ItemByName(std::string_view name) override {
    if (new_inspector_ && !MayHave(name)) Raise(kInvalidArgument);
    // An opening asks twice for the bar that it builds, to remove an old one.
    if (std::exchange(asked_, com::EntryCount()) != com::EntryCount()) missing_.clear();
    if (!missing_.emplace(name).second) Raise(kInvalidArgument);
    auto bar =
        std::make_shared<LateBoundBar>(object_.GetObjectProperty("Item", {Variant(name).Get()}));
    missing_.erase(missing_.find(name));
    return bar;
  }
  platform::CommandBarPtr Add(std::string_view name, std::int32_t position,
                              bool temporary) override {
    AddedBars().emplace(name);
    added_.emplace(name);
    missing_.clear();
    // Name, Position, MenuBar, Temporary.
    return std::make_shared<LateBoundBar>(
        object_
            .Call("Add", {Variant(name).Get(), Variant(position).Get(), Missing(),
                          Variant(temporary).Get()})
            .Object());
  }

 private:
  bool MayHave(std::string_view name) {
    return added_.contains(name) || (AddedBars().contains(name) && SharesBars());
  }
  /// Word shares its bars between windows.
  bool SharesBars() {
    if (!shares_bars_) {
      shares_bars_ = true;
      Ignoring([&] { shares_bars_ = com::Dispatch(new_inspector_).Call("IsWordMail").Flag(); });
    }
    return *shares_bars_;
  }

  /// Null for windows that may have bars of an earlier session.
  const DispatchPtr new_inspector_;
  /// Unknown before it is asked; taken for true when the question fails.
  std::optional<bool> shares_bars_;
  std::set<std::string, std::less<>> added_;
  /// As far as this call into the add-in has asked for them.
  std::set<std::string, std::less<>> missing_;
  unsigned long asked_ = 0;
};

}  // namespace

platform::CommandBarsPtr WrapCommandBars(DispatchPtr bars) {
  return std::make_shared<LateBoundBars>(std::move(bars), nullptr);
}

platform::CommandBarsPtr WrapBarsOfNewInspector(DispatchPtr bars, DispatchPtr inspector) {
  return std::make_shared<LateBoundBars>(std::move(bars), std::move(inspector));
}

}  // namespace corvessa::windows
