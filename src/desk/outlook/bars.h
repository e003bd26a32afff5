#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "desk/outlook/button.h"
#include "desk/outlook/connected.h"
#include "platform/command_bars.h"

namespace corvessa::desk {

/// A bar and its controls.
class Bar final : public platform::CommandBar,
                  public platform::CommandBarControls,
                  public std::enable_shared_from_this<Bar>,
                  public Connected {
 public:
  Bar(WorldPtr world, std::string name, bool temporary, bool visible);

  bool IsVisible() const { return visible_; }
  bool IsTemporary() const { return temporary_; }
  std::int32_t Position() const { return position_; }
  const std::string& NameText() const { return name_; }
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
  void DropDeleted();
  ButtonPtr NewButton(ButtonLook look);

  std::string name_;
  bool temporary_;
  bool visible_;
  std::int32_t position_ = platform::kBarTop;
  /// A null one is a control that is no button.
  std::vector<ButtonPtr> controls_;
};
using BarPtr = std::shared_ptr<Bar>;

/// The bars of one window, Outlook's own ones first.
class Bars final : public platform::CommandBars, public Connected {
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
  BarPtr AddOwnBar(std::string_view name);

  std::vector<BarPtr> bars_;
};
using BarsPtr = std::shared_ptr<Bars>;

/// The add-ins' bars (those that are temporary) as text for a golden test, and any further bar by
/// its name; a line a bar and, indented, a line a button, tags left out.
std::string Describe(const Bars& bars, std::string_view further_bar = {});

}  // namespace corvessa::desk
