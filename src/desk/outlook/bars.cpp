#include "desk/outlook/bars.h"

#include <algorithm>

#include "base/error.h"
#include "base/text.h"

namespace corvessa::desk {
namespace {

bool SameCaption(std::string_view caption, std::string_view wanted) {
  return caption == wanted || Replace(caption, "&", "") == wanted;
}

}  // namespace

Bar::Bar(WorldPtr world, std::string name, bool temporary, bool visible)
    : Connected(std::move(world)),
      name_(std::move(name)),
      temporary_(temporary),
      visible_(visible) {}

void Bar::DropDeleted() {
  std::erase_if(controls_, [](const ButtonPtr& button) { return button && !button->IsThere(); });
}

std::vector<ButtonPtr> Bar::Buttons() const {
  std::vector<ButtonPtr> buttons;
  for (const auto& control : controls_) {
    if (control && control->IsThere()) buttons.push_back(control);
  }
  return buttons;
}

ButtonPtr Bar::NewButton(ButtonLook look) {
  controls_.push_back(std::make_shared<Button>(world_, std::move(look)));
  world_->Remember(controls_.back());
  return controls_.back();
}

void Bar::AddMenu() {
  controls_.push_back(nullptr);
}

void Bar::AddOwnButton(std::string_view caption, std::int32_t face_id) {
  ButtonLook look;
  look.caption = caption;
  look.tooltip = Replace(caption, "&", "");
  look.face_id = face_id;
  NewButton(std::move(look));
}

void Bar::Remove() {
  Disconnect();
  for (const auto& button : Buttons()) button->Remove();
}

std::string Bar::Name() {
  Called("CommandBar.Name");
  return name_;
}

void Bar::SetVisible(bool visible) {
  Called("CommandBar.SetVisible");
  visible_ = visible;
}

void Bar::SetPosition(std::int32_t position) {
  Called("CommandBar.SetPosition");
  position_ = position;
}

platform::CommandBarControlsPtr Bar::Controls() {
  Called("CommandBar.Controls");
  return shared_from_this();
}

void Bar::Delete() {
  Called("CommandBar.Delete");
  Remove();
}

std::int32_t Bar::Count() {
  Called("CommandBarControls.Count");
  DropDeleted();
  return static_cast<std::int32_t>(controls_.size());
}

platform::CommandBarButtonPtr Bar::Item(std::int32_t index) {
  Called("CommandBarControls.Item");
  DropDeleted();
  if (index < 1 || static_cast<std::size_t>(index) > controls_.size()) Raise(kInvalidArgument);
  const auto& control = controls_[static_cast<std::size_t>(index) - 1];
  if (!control) Raise(kTypeMismatch, "Type mismatch");
  return control;
}

platform::CommandBarButtonPtr Bar::AddButton(bool temporary) {
  Called("CommandBarControls.AddButton");
  ButtonLook look;
  look.temporary = temporary;
  return NewButton(std::move(look));
}

Bars::Bars(WorldPtr world, Window window) : Connected(std::move(world)) {
  const bool explorer = window == Window::kExplorer;
  const auto menu = AddOwnBar("Menu Bar");
  for (int menus = 0; menus < 6; ++menus) menu->AddMenu();
  const auto standard = AddOwnBar("Standard");
  if (explorer) standard->AddMenu();
  if (!explorer) standard->AddOwnButton("&Send", 2617);
  standard->AddOwnButton("&Print...", 4);
  AddOwnBar(explorer ? "Advanced" : "Formatting");
}

BarPtr Bars::AddOwnBar(std::string_view name) {
  const auto bar = std::make_shared<Bar>(world_, std::string(name), false, true);
  bars_.push_back(bar);
  return bar;
}

std::vector<BarPtr> Bars::All() const {
  std::vector<BarPtr> all = bars_;
  std::erase_if(all, [](const BarPtr& bar) { return !bar->IsThere(); });
  return all;
}

BarPtr Bars::Find(std::string_view name) const {
  for (const auto& bar : All()) {
    if (bar->NameText() == name) return bar;
  }
  return nullptr;
}

ButtonPtr Bars::FindButton(std::string_view caption) const {
  for (const auto& bar : All()) {
    if (!bar->IsVisible()) continue;
    for (const auto& button : bar->Buttons()) {
      if (button->Look().visible && SameCaption(button->Look().caption, caption)) return button;
    }
  }
  return nullptr;
}

void Bars::Remove() {
  Disconnect();
  for (const auto& bar : bars_) bar->Remove();
}

std::int32_t Bars::Count() {
  Called("CommandBars.Count");
  bars_ = All();
  return static_cast<std::int32_t>(bars_.size());
}

platform::CommandBarPtr Bars::Item(std::int32_t index) {
  Called("CommandBars.Item");
  bars_ = All();
  if (index < 1 || static_cast<std::size_t>(index) > bars_.size()) Raise(kInvalidArgument);
  return bars_[static_cast<std::size_t>(index) - 1];
}

platform::CommandBarPtr Bars::ItemByName(std::string_view name) {
  Called("CommandBars.ItemByName");
  auto bar = Find(name);
  if (!bar) Raise(kInvalidArgument);
  return bar;
}

platform::CommandBarPtr Bars::Add(std::string_view name, bool temporary) {
  Called("CommandBars.Add");
  if (Find(name)) Raise(kInvalidArgument);
  bars_ = All();
  bars_.push_back(std::make_shared<Bar>(world_, std::string(name), temporary, false));
  return bars_.back();
}

std::string Describe(const Bars& bars, std::string_view further_bar) {
  std::string text;
  for (const auto& bar : bars.All()) {
    if (!bar->IsTemporary() && bar->NameText() != further_bar) continue;
    text += bar->NameText() + (bar->IsVisible() ? "" : " hidden") +
            " position=" + Decimal(bar->Position()) + "\n";
    for (const auto& button : bar->Buttons()) {
      const ButtonLook& look = button->Look();
      text += "  \"" + look.caption + "\" tip=\"" + look.tooltip +
              "\" style=" + Decimal(look.style) +
              " face=" + (look.pasted_face ? "pasted" : Decimal(look.face_id)) +
              (look.state == platform::kButtonDown ? " down" : "") +
              (look.enabled ? "" : " disabled") + (look.visible ? "" : " hidden") +
              (look.begins_group ? " group" : "") + (look.temporary ? "" : " permanent") +
              (look.on_action.empty() ? "" : " action=\"" + look.on_action + "\"") + "\n";
    }
  }
  return text;
}

}  // namespace corvessa::desk
