#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "desk/outlook/sink_list.h"
#include "desk/outlook/world.h"
#include "platform/command_bars.h"

namespace corvessa::desk {

/// What a button shows and carries.
struct ButtonLook {
  std::string caption;
  std::string tooltip;
  std::int32_t style = 0;
  std::int32_t face_id = 0;
  std::int32_t state = platform::kButtonUp;
  bool enabled = true;
  bool visible = true;
  bool begins_group = false;
  bool temporary = false;
  std::string on_action;
  std::string tag;
  /// The clipboard's blocks when a face was pasted; the mask is missing when there was none.
  std::optional<std::vector<std::uint8_t>> pasted_face;
  std::optional<std::vector<std::uint8_t>> pasted_mask;

  bool operator==(const ButtonLook&) const = default;
};

/// A button, until it, its bar or its window goes; then every call on it fails.
class Button final : public platform::CommandBarButton,
                     public std::enable_shared_from_this<Button> {
 public:
  Button(WorldPtr world, ButtonLook look);

  const ButtonLook& Look() const { return look_; }
  bool IsThere() const { return there_; }
  void Remove() { there_ = false; }
  /// The user's click: nothing unless the button is there, visible and enabled (false then); else
  /// every sink of every button that has the same tag is called.
  bool Click();

  std::string Caption() override;
  void SetCaption(std::string_view caption) override;
  void SetTooltipText(std::string_view text) override;
  void SetStyle(std::int32_t style) override;
  void SetFaceId(std::int32_t face) override;
  std::int32_t State() override;
  void SetState(std::int32_t state) override;
  void SetEnabled(bool enabled) override;
  void SetBeginGroup(bool begins_group) override;
  void SetOnAction(std::string_view action) override;
  void SetVisible(bool visible) override;
  std::string Tag() override;
  void SetTag(std::string_view tag) override;
  void PasteFace() override;
  void Delete() override;
  platform::Subscription Subscribe(platform::CommandBarButtonEvents& sink) override;

 private:
  void Called(std::string_view call) const;

  WorldPtr world_;
  ButtonLook look_;
  bool there_ = true;
  SinkList<platform::CommandBarButtonEvents> sinks_;
};
using ButtonPtr = std::shared_ptr<Button>;

/// A bar and its controls.
class Bar final : public platform::CommandBar,
                  public platform::CommandBarControls,
                  public std::enable_shared_from_this<Bar> {
 public:
  Bar(WorldPtr world, std::string name, bool temporary, bool visible);

  bool IsVisible() const { return visible_; }
  bool IsTemporary() const { return temporary_; }
  std::int32_t Position() const { return position_; }
  const std::string& NameText() const { return name_; }
  bool IsThere() const { return there_; }
  /// In their order; deleted ones are left out.
  std::vector<ButtonPtr> Buttons() const;
  /// Outlook's own furniture: a menu or drop-down, or a button with a face of Office's own.
  void AddMenu();
  void AddOwnButton(std::string_view caption, std::int32_t face_id);
  void Remove();

  std::string Name() override;
  void SetVisible(bool visible) override;
  void SetPosition(std::int32_t position) override;
  platform::CommandBarControlsPtr Controls() override;
  void Delete() override;
  std::int32_t Count() override;
  platform::CommandBarButtonPtr Item(std::int32_t index) override;
  platform::CommandBarButtonPtr AddButton(bool temporary) override;

 private:
  void Called(std::string_view call) const;
  void DropDeleted();
  ButtonPtr NewButton(ButtonLook look);

  WorldPtr world_;
  std::string name_;
  bool temporary_;
  bool visible_;
  std::int32_t position_ = platform::kBarTop;
  bool there_ = true;
  /// A null one is a control that is no button.
  std::vector<ButtonPtr> controls_;
};
using BarPtr = std::shared_ptr<Bar>;

/// The bars of one window, Outlook's own ones first.
class Bars final : public platform::CommandBars {
 public:
  enum class Window { kExplorer, kInspector };
  Bars(WorldPtr world, Window window);

  std::vector<BarPtr> All() const;
  /// Null when there is none of the name.
  BarPtr Find(std::string_view name) const;
  /// The first visible button with the caption on a visible bar; "&" marks may be left out. Null
  /// when there is none.
  ButtonPtr FindButton(std::string_view caption) const;
  /// The window closes: nothing of it can be used any more.
  void Remove();

  std::int32_t Count() override;
  platform::CommandBarPtr Item(std::int32_t index) override;
  platform::CommandBarPtr ItemByName(std::string_view name) override;
  platform::CommandBarPtr Add(std::string_view name, bool temporary) override;

 private:
  void Called(std::string_view call) const;
  BarPtr AddOwnBar(std::string_view name);

  WorldPtr world_;
  bool there_ = true;
  std::vector<BarPtr> bars_;
};
using BarsPtr = std::shared_ptr<Bars>;

/// The add-ins' bars (those that are temporary) as text for a golden test, and any further bar by
/// its name; a line a bar and, indented, a line a button, tags left out.
std::string Describe(const Bars& bars, std::string_view further_bar = {});

}  // namespace corvessa::desk
