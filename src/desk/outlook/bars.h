#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/outlook/world.h"
#include "platform/command_bars.h"

/// The command bars of a window, as the add-in, the user and Outlook itself see them.
namespace corvessa::desk {

/// What a button shows and carries.
struct ButtonProperties {
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

  bool operator==(const ButtonProperties&) const = default;
};

/// A button. Once it, its bar or its window is gone, every call on it fails.
class Button final : public platform::CommandBarButton, public TaggedButton, public Connected {
 public:
  Button(WorldPtr world, ButtonProperties properties);

  const ButtonProperties& Properties() const { return properties_; }
  void Remove() { Disconnect(); }
  /// The user's click, which reaches the sinks of every button that has the same tag. False, and no
  /// event, for a button that is gone, hidden or disabled.
  bool Click();
  bool HasTag(std::string_view tag) const override;
  void RaiseClick(bool& cancel_default) override;

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
  ButtonProperties properties_;
  SinkList<platform::CommandBarButtonEvents> sinks_;
};
using ButtonPtr = std::shared_ptr<Button>;

/// A bar and its controls.
class Bar final : public platform::CommandBar,
                  public platform::CommandBarControls,
                  public std::enable_shared_from_this<Bar>,
                  public Connected {
 public:
  Bar(WorldPtr world, std::string name, std::int32_t position, bool temporary);

  bool IsVisible() const { return visible_; }
  bool IsTemporary() const { return temporary_; }
  std::int32_t Position() const { return position_; }
  const std::string& NameText() const { return name_; }
  /// In order, without deleted ones.
  std::vector<ButtonPtr> Buttons() const;
  /// Outlook's own controls: a menu or drop-down list, or a button with one of Office's faces.
  void AddMenu();
  void AddOwnButton(std::string_view caption, std::int32_t face_id);
  void Remove();

  std::string Name() override;
  void SetVisible(bool visible) override;
  platform::CommandBarControlsPtr Controls() override;
  void Delete() override;
  std::int32_t Count() override;
  platform::CommandBarButtonPtr Item(std::int32_t index) override;
  platform::CommandBarButtonPtr AddButton(bool temporary) override;

 private:
  void DropDeleted();
  ButtonPtr NewButton(ButtonProperties properties);

  std::string name_;
  std::int32_t position_;
  bool temporary_;
  /// Outlook's own bars are; a program shows what it adds itself.
  bool visible_ = !temporary_;
  /// Null for a control that is not a button.
  std::vector<ButtonPtr> controls_;
};
using BarPtr = std::shared_ptr<Bar>;

/// The bars of one window, Outlook's own ones first.
class Bars final : public platform::CommandBars, public Connected {
 public:
  enum class Window { kExplorer, kInspector };
  Bars(WorldPtr world, Window window);

  std::vector<BarPtr> All() const;
  /// Null when no bar has the name.
  BarPtr Find(std::string_view name) const;
  /// The first visible button with the caption, with or without its "&" marks, on a visible bar;
  /// null when there is none.
  ButtonPtr FindButton(std::string_view caption) const;
  /// The first button whose tag begins so; null when there is none. Tags, unlike captions, are not
  /// branded.
  ButtonPtr FindTagged(std::string_view beginning) const;
  /// The window closes: every further call on its bars and buttons fails.
  void Remove();

  std::int32_t Count() override;
  platform::CommandBarPtr Item(std::int32_t index) override;
  platform::CommandBarPtr ItemByName(std::string_view name) override;
  platform::CommandBarPtr Add(std::string_view name, std::int32_t position,
                              bool temporary) override;

 private:
  BarPtr AddOwnBar(std::string_view name);

  std::vector<BarPtr> bars_;
};
using BarsPtr = std::shared_ptr<Bars>;

/// The add-ins' bars (the temporary ones) and one further bar by name, as text for golden tests: a
/// line for each bar and an indented line for each button, without tags.
std::string Describe(const Bars& bars, std::string_view further_bar = {});

}  // namespace corvessa::desk
