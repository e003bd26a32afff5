#pragma once

#include <cstdint>
#include <string_view>

#include "platform/command_bars.h"
#include "platform/outlook.h"

namespace corvessa {

/// The button on an explorer's "Standard" toolbar that opens the settings dialog; lives as long as
/// its explorer's node.
class ConfigurationButtons final : public platform::CommandBarButtonEvents {
 public:
  /// Creates the button; `done` becomes true when that worked.
  void InitButtons(const platform::ExplorerPtr& explorer, bool& done);
  /// Deletes the button, whatever happens.
  void CloseButtons();
  void m_oConfigureBtn_Click(bool& cancel_default);

 private:
  void Click(bool& cancel_default) override;
  void GetButton(std::string_view caption, std::string_view tooltip, std::int32_t picture,
                 bool begins_group, platform::CommandBar& bar,
                 platform::CommandBarButtonPtr& button);

  platform::CommandBarButtonPtr m_oConfigureBtn;
  platform::Subscription events_;
};

}  // namespace corvessa
