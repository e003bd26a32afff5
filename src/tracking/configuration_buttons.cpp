#include "tracking/configuration_buttons.h"

#include <memory>
#include <string>

#include "accounts/frm_manage_user_keys.h"
#include "accounts/registry_handlers.h"
#include "base/guard.h"
#include "branding/customization.h"
#include "crypto/frm_timer.h"
#include "settings/edition.h"
#include "settings/settings.h"
#include "tracking/transp_cmd_bar.h"

namespace corvessa {
namespace {

/// Any number but 0 asks for the brand's picture.
constexpr std::int32_t kToolbarPicture = 101;
/// The background of the brand's picture: red 222, green 222, blue 231.
constexpr std::uint32_t kTransparentColour = 15195870;
/// There is one such button, so its tag can be a fixed one.
constexpr char kButtonTag[] = "CorvessaPro_OL.ConfigureBtn";

/// False when the button is to do without a picture.
bool PasteToolbarPicture(platform::CommandBarButton& button) {
  return Guarded("ConfigurationButtons::GetButton - ", false, [&] {
    TranspCmdBar::SetButtonPicture(Customization::GetToolbarPicture(), kTransparentColour);
    button.PasteFace();
    return true;
  });
}

/// The edition refuses the mode that Outlook runs in.
bool IsMailModeRefused() {
  return (g_bDisableInternetMode && RegistryHandlers::IsInternetOnlyMode()) ||
         (g_bDisableCorporateOrWorkgroupMode && RegistryHandlers::IsCorporateWorkgroupMode());
}

}  // namespace

void ConfigurationButtons::InitButtons(const platform::ExplorerPtr& explorer, bool& done) {
  const bool made = Guarded("ConfigurationButtons::InitButtons - ", false, [&] {
    const std::string short_name = Customization::AppShortName();
    const platform::CommandBarPtr bar = explorer->CommandBars()->ItemByName("Standard");
    GetButton(g_bNoToolbarButtonText ? "" : short_name, "Secure Email From " + short_name,
              kToolbarPicture, true, *bar, m_oConfigureBtn);
    if (!m_oConfigureBtn) return false;
    m_oConfigureBtn->SetTag(kButtonTag);
    events_ = m_oConfigureBtn->Subscribe(*this);
    return true;
  });
  if (made) {
    done = true;
  } else {
    CloseButtons();
  }
}

void ConfigurationButtons::CloseButtons() {
  events_.reset();
  if (m_oConfigureBtn) Ignoring([&] { m_oConfigureBtn->Delete(); });
  m_oConfigureBtn.reset();
}

void ConfigurationButtons::GetButton(std::string_view caption, std::string_view tooltip,
                                     std::int32_t picture, bool begins_group,
                                     platform::CommandBar& bar,
                                     platform::CommandBarButtonPtr& button) {
  platform::CommandBarButtonPtr added;
  Guarded("ConfigurationButtons::GetButton - ", [&] {
    added = bar.Controls()->AddButton(true);
    const bool has_picture = picture != 0 && PasteToolbarPicture(*added);
    added->SetStyle(has_picture ? platform::kButtonIconAndCaption : platform::kButtonCaption);
    added->SetTooltipText(tooltip);
    added->SetBeginGroup(begins_group);
    // A button without text and picture could not be seen.
    added->SetCaption(caption.empty() && !has_picture ? Customization::AppShortName() : caption);
    added->SetOnAction(kButtonAction);
    added->SetVisible(true);
    button = added;
  });
  // A button that is half made goes again.
  if (added && !button) Ignoring([&] { added->Delete(); });
}

void ConfigurationButtons::m_oConfigureBtn_Click(bool& /*cancel_default*/) {
  // The reload may show a message, during which the explorer may close and take this object along:
  // nothing below may touch a member.
  Guarded("ConfigurationButtons::m_oConfigureBtn_Click - ", [] {
    RegistryHandlers::ReadUserAccountInfo();
    if (!g_bSettingsLoaded || IsMailModeRefused()) return;
    // The reload may have enabled an add-in that was disabled when Outlook started.
    if (!g_bDisableKVPEntirely) StartHousekeeping();
    if (const FormPtr open = FindVisibleForm("frmManageUserKeys")) {
      open->Show();
    } else {
      std::make_shared<frmManageUserKeys>()->Show();
    }
  });
}

void ConfigurationButtons::Click(bool& cancel_default) {
  m_oConfigureBtn_Click(cancel_default);
}

}  // namespace corvessa
