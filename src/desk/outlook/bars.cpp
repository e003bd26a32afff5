#include "desk/outlook/bars.h"

#include <algorithm>

#include "base/error.h"
#include "base/text.h"
#include "platform/clipboard.h"

namespace corvessa::desk {
namespace {

bool SameCaption(std::string_view caption, std::string_view wanted) {
  return caption == wanted || Replace(caption, "&", "") == wanted;
}

}  // namespace

Button::Button(WorldPtr world, ButtonLook look)
    : world_(std::move(world)), look_(std::move(look)) {}

void Button::Called(std::string_view call) const {
  world_->Called(call);
  if (!there_) RaiseDisconnected();
}

bool Button::Click() {
  if (!there_ || !look_.visible || !look_.enabled) return false;
  auto clicked = std::vector<ButtonPtr>{shared_from_this()};
  if (!look_.tag.empty()) clicked = world_->ButtonsTagged(look_.tag);
  bool cancel_default = false;
  for (const auto& button : clicked) {
    button->sinks_.Raise([&](auto& sink) { sink.Click(cancel_default); });
  }
  return true;
}

std::string Button::Caption() {
  Called("CommandBarButton.Caption");
  return look_.caption;
}

void Button::SetCaption(std::string_view caption) {
  Called("CommandBarButton.SetCaption");
  look_.caption = caption;
}

void Button::SetTooltipText(std::string_view text) {
  Called("CommandBarButton.SetTooltipText");
  look_.tooltip = text;
}

void Button::SetStyle(std::int32_t style) {
  Called("CommandBarButton.SetStyle");
  look_.style = style;
}

void Button::SetFaceId(std::int32_t face) {
  Called("CommandBarButton.SetFaceId");
  look_.face_id = face;
  look_.pasted_face.reset();
  look_.pasted_mask.reset();
}

std::int32_t Button::State() {
  Called("CommandBarButton.State");
  return look_.state;
}

void Button::SetState(std::int32_t state) {
  Called("CommandBarButton.SetState");
  look_.state = state;
}

void Button::SetEnabled(bool enabled) {
  Called("CommandBarButton.SetEnabled");
  look_.enabled = enabled;
}

void Button::SetBeginGroup(bool begins_group) {
  Called("CommandBarButton.SetBeginGroup");
  look_.begins_group = begins_group;
}

void Button::SetOnAction(std::string_view action) {
  Called("CommandBarButton.SetOnAction");
  look_.on_action = action;
}

void Button::SetVisible(bool visible) {
  Called("CommandBarButton.SetVisible");
  look_.visible = visible;
}

std::string Button::Tag() {
  Called("CommandBarButton.Tag");
  return look_.tag;
}

void Button::SetTag(std::string_view tag) {
  Called("CommandBarButton.SetTag");
  look_.tag = tag;
}

void Button::PasteFace() {
  Called("CommandBarButton.PasteFace");
  platform::Clipboard* const clipboard = world_->Clipboard();
  if (!clipboard || !clipboard->Open()) Raise(kInvalidArgument);
  auto face = clipboard->GetData(clipboard->RegisterFormat(platform::kFaceFormat));
  auto mask = clipboard->GetData(clipboard->RegisterFormat(platform::kMaskFormat));
  if (!face) face = clipboard->GetData(platform::kClipboardDib);
  clipboard->Close();
  if (!face) Raise(kInvalidArgument);
  look_.pasted_face = std::move(face);
  look_.pasted_mask = std::move(mask);
}

void Button::Delete() {
  Called("CommandBarButton.Delete");
  there_ = false;
}

platform::Subscription Button::Subscribe(platform::CommandBarButtonEvents& sink) {
  Called("CommandBarButton.Subscribe");
  return sinks_.Add(sink);
}

Bar::Bar(WorldPtr world, std::string name, bool temporary, bool visible)
    : world_(std::move(world)), name_(std::move(name)), temporary_(temporary), visible_(visible) {}

void Bar::Called(std::string_view call) const {
  world_->Called(call);
  if (!there_) RaiseDisconnected();
}

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
  there_ = false;
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

Bars::Bars(WorldPtr world, Window window) : world_(std::move(world)) {
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

void Bars::Called(std::string_view call) const {
  world_->Called(call);
  if (!there_) RaiseDisconnected();
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
  there_ = false;
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
