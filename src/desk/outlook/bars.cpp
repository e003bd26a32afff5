#include "desk/outlook/bars.h"

#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "platform/pictures.h"

namespace corvessa::desk {
namespace {

bool SameCaption(std::string_view caption, std::string_view wanted) {
  return caption == wanted || Replace(caption, "&", "") == wanted;
}

}  // namespace

Button::Button(WorldPtr world, ButtonProperties properties)
    : Connected(std::move(world)), properties_(std::move(properties)) {}

bool Button::Click() {
  if (!IsConnected() || !properties_.visible || !properties_.enabled) return false;
  bool cancel_default = false;
  if (properties_.tag.empty()) {
    RaiseClick(cancel_default);
  } else {
    const auto clicked = world_->ButtonsTagged(properties_.tag);
    for (const auto& button : clicked) button->RaiseClick(cancel_default);
  }
  return true;
}

bool Button::HasTag(std::string_view tag) const {
  return IsConnected() && properties_.tag == tag;
}

void Button::RaiseClick(bool& cancel_default) {
  sinks_.Raise([&](auto& sink) { sink.Click(cancel_default); });
}

std::string Button::Caption() {
  RequireConnected();
  return properties_.caption;
}

void Button::SetCaption(std::string_view caption) {
  RequireConnected();
  properties_.caption = caption;
}

void Button::SetTooltipText(std::string_view text) {
  RequireConnected();
  properties_.tooltip = text;
}

void Button::SetStyle(std::int32_t style) {
  RequireConnected();
  properties_.style = style;
}

void Button::SetFaceId(std::int32_t face) {
  RequireConnected();
  properties_.face_id = face;
  properties_.pasted_face.reset();
  properties_.pasted_mask.reset();
}

std::int32_t Button::State() {
  RequireConnected();
  return properties_.state;
}

void Button::SetState(std::int32_t state) {
  RequireConnected();
  properties_.state = state;
}

void Button::SetEnabled(bool enabled) {
  RequireConnected();
  properties_.enabled = enabled;
}

void Button::SetBeginGroup(bool begins_group) {
  RequireConnected();
  properties_.begins_group = begins_group;
}

void Button::SetOnAction(std::string_view action) {
  RequireConnected();
  properties_.on_action = action;
}

void Button::SetVisible(bool visible) {
  RequireConnected();
  properties_.visible = visible;
}

std::string Button::Tag() {
  RequireConnected();
  return properties_.tag;
}

void Button::SetTag(std::string_view tag) {
  RequireConnected();
  properties_.tag = tag;
}

void Button::PasteFace() {
  RequireConnected();
  platform::Clipboard* const clipboard = world_->Clipboard();
  if (!clipboard || !clipboard->Open()) Raise(kInvalidArgument);
  auto face = clipboard->GetData(clipboard->RegisterFormat(platform::kFaceFormat));
  auto mask = clipboard->GetData(clipboard->RegisterFormat(platform::kMaskFormat));
  if (!face) face = clipboard->GetData(platform::kClipboardDib);
  clipboard->Close();
  if (!face) Raise(kInvalidArgument);
  properties_.pasted_face = std::move(face);
  properties_.pasted_mask = std::move(mask);
}

void Button::Delete() {
  RequireConnected();
  Remove();
}

platform::Subscription Button::Subscribe(platform::CommandBarButtonEvents& sink) {
  RequireConnected();
  return sinks_.Add(sink);
}

Bar::Bar(WorldPtr world, std::string name, std::int32_t position, bool temporary)
    : Connected(std::move(world)),
      name_(std::move(name)),
      position_(position),
      temporary_(temporary) {}

void Bar::DropDeleted() {
  std::erase_if(controls_,
                [](const ButtonPtr& button) { return button && !button->IsConnected(); });
}

std::vector<ButtonPtr> Bar::Buttons() const {
  std::vector<ButtonPtr> buttons;
  for (const auto& control : controls_) {
    if (control && control->IsConnected()) buttons.push_back(control);
  }
  return buttons;
}

ButtonPtr Bar::NewButton(ButtonProperties properties) {
  controls_.push_back(std::make_shared<Button>(world_, std::move(properties)));
  world_->AddButton(controls_.back());
  return controls_.back();
}

void Bar::AddMenu() {
  controls_.push_back(nullptr);
}

void Bar::AddOwnButton(std::string_view caption, std::int32_t face_id) {
  ButtonProperties properties;
  properties.caption = caption;
  properties.tooltip = Replace(caption, "&", "");
  properties.face_id = face_id;
  NewButton(std::move(properties));
}

void Bar::Remove() {
  Disconnect();
  for (const auto& button : Buttons()) button->Remove();
}

std::string Bar::Name() {
  RequireConnected();
  return name_;
}

void Bar::SetVisible(bool visible) {
  RequireConnected();
  visible_ = visible;
}

platform::CommandBarControlsPtr Bar::Controls() {
  RequireConnected();
  return shared_from_this();
}

void Bar::Delete() {
  RequireConnected();
  Remove();
}

std::int32_t Bar::Count() {
  RequireConnected();
  DropDeleted();
  return static_cast<std::int32_t>(controls_.size());
}

platform::CommandBarButtonPtr Bar::Item(std::int32_t index) {
  RequireConnected();
  DropDeleted();
  if (index < 1 || static_cast<std::size_t>(index) > controls_.size()) Raise(kInvalidArgument);
  const auto& control = controls_[static_cast<std::size_t>(index) - 1];
  if (!control) Raise(kTypeMismatch, "Type mismatch");
  return control;
}

platform::CommandBarButtonPtr Bar::AddButton(bool temporary) {
  RequireConnected();
  ButtonProperties properties;
  properties.temporary = temporary;
  return NewButton(std::move(properties));
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
  const auto bar = std::make_shared<Bar>(world_, std::string(name), platform::kBarTop, false);
  bars_.push_back(bar);
  return bar;
}

std::vector<BarPtr> Bars::All() const {
  std::vector<BarPtr> all = bars_;
  std::erase_if(all, [](const BarPtr& bar) { return !bar->IsConnected(); });
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
      if (button->Properties().visible && SameCaption(button->Properties().caption, caption))
        return button;
    }
  }
  return nullptr;
}

ButtonPtr Bars::FindTagged(std::string_view beginning) const {
  for (const auto& bar : All()) {
    for (const auto& button : bar->Buttons()) {
      if (button->Properties().tag.starts_with(beginning)) return button;
    }
  }
  return nullptr;
}

void Bars::Remove() {
  Disconnect();
  for (const auto& bar : bars_) bar->Remove();
}

std::int32_t Bars::Count() {
  RequireConnected();
  bars_ = All();
  return static_cast<std::int32_t>(bars_.size());
}

platform::CommandBarPtr Bars::Item(std::int32_t index) {
  RequireConnected();
  bars_ = All();
  if (index < 1 || static_cast<std::size_t>(index) > bars_.size()) Raise(kInvalidArgument);
  return bars_[static_cast<std::size_t>(index) - 1];
}

platform::CommandBarPtr Bars::ItemByName(std::string_view name) {
  RequireConnected();
  auto bar = Find(name);
  if (!bar) Raise(kInvalidArgument);
  return bar;
}

platform::CommandBarPtr Bars::Add(std::string_view name, std::int32_t position, bool temporary) {
  RequireConnected();
  if (Find(name)) Raise(kInvalidArgument);
  bars_ = All();
  bars_.push_back(std::make_shared<Bar>(world_, std::string(name), position, temporary));
  return bars_.back();
}

std::string Describe(const Bars& bars, std::string_view further_bar) {
  std::string text;
  for (const auto& bar : bars.All()) {
    if (!bar->IsTemporary() && bar->NameText() != further_bar) continue;
    text += bar->NameText() + (bar->IsVisible() ? "" : " hidden") +
            " position=" + Decimal(bar->Position()) + "\n";
    for (const auto& button : bar->Buttons()) {
      const ButtonProperties& shown = button->Properties();
      text += "  \"" + shown.caption + "\" tip=\"" + shown.tooltip +
              "\" style=" + Decimal(shown.style) +
              " face=" + (shown.pasted_face ? "pasted" : Decimal(shown.face_id)) +
              (shown.state == platform::kButtonDown ? " down" : "") +
              (shown.enabled ? "" : " disabled") + (shown.visible ? "" : " hidden") +
              (shown.begins_group ? " group" : "") + (shown.temporary ? "" : " permanent") +
              (shown.on_action.empty() ? "" : " action=\"" + shown.on_action + "\"") + "\n";
    }
  }
  return text;
}

}  // namespace corvessa::desk
