#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/subscription.h"

/// Office command bars, as far as the add-in uses them. Collections count from 1. Every call may
/// throw Error with the call's HRESULT.
namespace corvessa::platform {

class CommandBar;
class CommandBarControls;
class CommandBarButton;
using CommandBarPtr = std::shared_ptr<CommandBar>;
using CommandBarControlsPtr = std::shared_ptr<CommandBarControls>;
using CommandBarButtonPtr = std::shared_ptr<CommandBarButton>;

/// msoBarTop.
inline constexpr std::int32_t kBarTop = 1;
/// msoButtonCaption and msoButtonIconAndCaption.
inline constexpr std::int32_t kButtonCaption = 2;
inline constexpr std::int32_t kButtonIconAndCaption = 3;
/// msoButtonUp and msoButtonDown.
inline constexpr std::int32_t kButtonUp = 0;
inline constexpr std::int32_t kButtonDown = -1;

/// Clipboard formats of a button's picture and its mask.
inline constexpr std::string_view kFaceFormat = "Toolbar Button Face";
inline constexpr std::string_view kMaskFormat = "Toolbar Button Mask";

class CommandBars {
 public:
  virtual ~CommandBars() = default;
  virtual std::int32_t Count() = 0;
  virtual CommandBarPtr Item(std::int32_t index) = 0;
  /// Throws Error when no bar has the name.
  virtual CommandBarPtr ItemByName(std::string_view name) = 0;
  /// An invisible one at this position (kBarTop). Outlook does not keep a temporary one between
  /// sessions.
  virtual CommandBarPtr Add(std::string_view name, std::int32_t position, bool temporary) = 0;
};

class CommandBar {
 public:
  virtual ~CommandBar() = default;
  virtual std::string Name() = 0;
  virtual void SetVisible(bool visible) = 0;
  virtual CommandBarControlsPtr Controls() = 0;
  virtual void Delete() = 0;
};

class CommandBarControls {
 public:
  virtual ~CommandBarControls() = default;
  virtual std::int32_t Count() = 0;
  /// Throws Error for a control that is no button.
  virtual CommandBarButtonPtr Item(std::int32_t index) = 0;
  virtual CommandBarButtonPtr AddButton(bool temporary) = 0;
};

class CommandBarButtonEvents {
 public:
  virtual ~CommandBarButtonEvents() = default;
  virtual void Click(bool& cancel_default) = 0;
};

/// Office delivers the click of a button to every sink whose button carries the same tag, so each
/// button gets a tag of its own.
class CommandBarButton {
 public:
  virtual ~CommandBarButton() = default;
  virtual std::string Caption() = 0;
  virtual void SetCaption(std::string_view caption) = 0;
  virtual void SetTooltipText(std::string_view text) = 0;
  virtual void SetStyle(std::int32_t style) = 0;
  virtual void SetFaceId(std::int32_t face) = 0;
  virtual std::int32_t State() = 0;
  virtual void SetState(std::int32_t state) = 0;
  virtual void SetEnabled(bool enabled) = 0;
  virtual void SetBeginGroup(bool begins_group) = 0;
  virtual void SetOnAction(std::string_view action) = 0;
  virtual void SetVisible(bool visible) = 0;
  virtual std::string Tag() = 0;
  virtual void SetTag(std::string_view tag) = 0;
  /// Takes its picture from the clipboard's kFaceFormat and kMaskFormat.
  virtual void PasteFace() = 0;
  virtual void Delete() = 0;
  virtual Subscription Subscribe(CommandBarButtonEvents& sink) = 0;
};

}  // namespace corvessa::platform
