#include "desk/outlook/button.h"

#include <utility>

#include "base/error.h"
#include "platform/clipboard.h"

namespace corvessa::desk {

Button::Button(WorldPtr world, ButtonLook look)
    : Connected(std::move(world)), look_(std::move(look)) {}

bool Button::Click() {
  if (!IsThere() || !look_.visible || !look_.enabled) return false;
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
  Remove();
}

platform::Subscription Button::Subscribe(platform::CommandBarButtonEvents& sink) {
  Called("CommandBarButton.Subscribe");
  return sinks_.Add(sink);
}

}  // namespace corvessa::desk
