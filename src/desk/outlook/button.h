#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/outlook/connected.h"
#include "desk/outlook/sink_list.h"
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
                     public std::enable_shared_from_this<Button>,
                     public Connected {
 public:
  Button(WorldPtr world, ButtonLook look);

  const ButtonLook& Look() const { return look_; }
  void Remove() { Disconnect(); }
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
  ButtonLook look_;
  SinkList<platform::CommandBarButtonEvents> sinks_;
};
using ButtonPtr = std::shared_ptr<Button>;

}  // namespace corvessa::desk
