#include "message/message_bars.h"

#include <utility>

#include "accounts/user_management.h"
#include "base/error.h"
#include "base/guard.h"
#include "base/text.h"
#include "message/item_access.h"
#include "message/message_operations.h"
#include "message/reading_pass.h"
#include "settings/edition.h"
#include "settings/settings.h"

namespace corvessa {
namespace {

constexpr std::int32_t kFaceDecrypt = 39;
constexpr std::int32_t kFaceOriginalMessage = 37;

constexpr std::string_view kEncryptionOption = "EncryptionOption";
constexpr std::string_view kSigningOption = "SigningOption";

bool IsArmoured(std::string_view text) {
  return IsPGPMessage(text) || IsPGPSignedMessage(text);
}

void RemoveBar(const platform::MailItemPtr& item, std::string_view name) {
  // By its name instead of by walking them all: every opening removes four bars that are not there.
  Ignoring([&] { item->GetInspector()->CommandBars()->ItemByName(name)->Delete(); });
}

platform::CommandBarControlsPtr AddBar(platform::MailItem& item, std::string_view name) {
  const auto bar = item.GetInspector()->CommandBars()->Add(name, platform::kBarTop, true);
  bar->SetVisible(true);
  return bar->Controls();
}

bool IsPressed(const BarButton& button) {
  return button.Button().State() == platform::kButtonDown;
}

void ShowPressed(const BarButton& button, bool pressed) {
  button.Button().SetFaceId(pressed ? kFaceOn : kFaceOff);
  button.Button().SetState(pressed ? platform::kButtonDown : platform::kButtonUp);
}

/// Keeps a choice in the message. When that fails the button goes back to what the message says,
/// because it is the message that decides how it is sent.
void KeepChoice(const platform::MailItemPtr& item, std::string_view refusal,
                const BarButton& button, bool on) {
  const Error error = Attempt([&] { WriteHeaderFlag(item, refusal, !on); });
  if (error.number == 0) return;
  ShowPressed(button, !ReadHeaderFlag(item, refusal));
  throw error;
}

}  // namespace

void BarButton::Bind(platform::CommandBarButtonPtr button, ClickHandler on_click) {
  Drop();
  button_ = std::move(button);
  on_click_ = std::move(on_click);
  events_ = button_->Subscribe(*this);
}

void BarButton::Drop() {
  events_.reset();
  on_click_ = nullptr;
  button_.reset();
}

platform::CommandBarButton& BarButton::Button() const {
  if (!button_) Raise(kObjectNotSet);
  return *button_;
}

void BarButton::Click(bool& /*cancel_default*/) {
  const ClickHandler running = on_click_;
  if (running) running();
}

struct MessageBars::ButtonDesign {
  std::string_view name;
  std::string caption;
  std::string tooltip;
  std::int32_t face;
  bool begins_group;
};

void MessageBars::AddButton(platform::CommandBarControls& controls, BarButton& button,
                            const ButtonDesign& design, ClickOperation on_click) {
  auto added = controls.AddButton(true);
  added->SetStyle(platform::kButtonIconAndCaption);
  added->SetCaption(design.caption);
  added->SetTooltipText(design.tooltip);
  added->SetFaceId(design.face);
  added->SetBeginGroup(design.begins_group);
  added->SetOnAction(kButtonAction);
  added->SetVisible(true);
  BindButton(std::move(added), button, design.name, on_click);
}

void MessageBars::BindButton(platform::CommandBarButtonPtr found, BarButton& button,
                             std::string_view name, ClickOperation on_click) {
  // A tag of its own, or a click in one window would reach the message in every other.
  found->SetTag(std::string("CorvessaPro_OL.").append(name) + "." + Decimal(window_number_));
  button.Bind(std::move(found), [clicks = clicks_, on_click] {
    if (const auto held = clicks.lock()) ((*held).*on_click)();
  });
}

void MessageBars::Bind(const platform::MailItemPtr& item, std::int32_t window_number,
                       std::weak_ptr<MessageBarClicks> clicks) {
  item_ = item;
  window_number_ = window_number;
  clicks_ = std::move(clicks);
}

void MessageBars::RemoveAll() {
  RemoveDecryptNow();
  RemoveDecryptAttachments();
  RemoveStatus();
  RemoveOptions();
}

bool MessageBars::AddDecryptNow(bool has_parts) {
  return Guarded("MailItemNode::AddDecryptNowBar - ", false, [&] {
    if (g_bDisableKVPEntirely) return false;
    if (!has_parts && !IsArmoured(*item_->Body()) && !IsArmoured(*item_->HTMLBody())) return false;
    const auto controls = AddBar(*item_, g_sDecryptNowCaption);
    AddButton(*controls, oCommandBarItemDecryptNow,
              {"DecryptNow", "&Decrypt/verify", "Decrypt/verify", kFaceDecrypt, true},
              &MessageBarClicks::oCommandBarItemDecryptNow_Click);
    return true;
  });
}

void MessageBars::RemoveDecryptNow() {
  RemoveBar(item_, g_sDecryptNowCaption);
  oCommandBarItemDecryptNow.Drop();
}

void MessageBars::AddDecryptAttachments(const ReadingPass& pass) {
  Guarded("AddDecryptAttachmentsBar Error - ", [&] {
    RemoveDecryptAttachments();
    if (!pass.LeavesAttachments(*item_)) return;
    const auto controls = AddBar(*item_, g_sDecryptAttachmentsCaption);
    AddButton(*controls, oCommandBarItemDecryptAttachments,
              {"DecryptAttachments", "&Decrypt/verify attachment(s)",
               "Decrypt/verify attachment(s)", kFaceDecrypt, true},
              &MessageBarClicks::oCommandBarItemDecryptAttachments_Click);
  });
}

void MessageBars::RemoveDecryptAttachments() {
  RemoveBar(item_, g_sDecryptAttachmentsCaption);
  oCommandBarItemDecryptAttachments.Drop();
}

void MessageBars::AddStatus(const ReadingPass& pass, const std::vector<std::string>& remarks) {
  Guarded("AddEncryptionAndSigningStatusBar: ", [&] {
    if (g_bDisableKVPEntirely) return;
    RemoveStatus();
    const auto controls = AddBar(*item_, g_sStatusCaption);
    const std::string encryption = "Message " + DecryptStatusText(pass.m_lDecryptStatus);
    AddButton(*controls, oCommandBarItemEncryptionStatus,
              {"EncryptionStatus", encryption, encryption, StatusFace(pass.m_lDecryptStatus), true},
              &MessageBarClicks::oCommandBarItemEncryptionStatus_Click);
    AddButton(*controls, oCommandBarItemSigningStatus,
              {"SigningStatus", "Message " + SignStatusText(pass.m_lSignStatus, false),
               "Message " + SignStatusTextWithSigners(pass.m_lSignStatus, pass.m_sSigners),
               StatusFace(pass.m_lSignStatus), false},
              &MessageBarClicks::oCommandBarItemSigningStatus_Click);
    for (const std::string& remark : remarks) {
      const std::string shown = ForDisplay(remark);
      remarks_.push_back(std::make_unique<BarButton>());
      const std::string name = "Remark" + Decimal(static_cast<std::int64_t>(remarks_.size()));
      AddButton(*controls, *remarks_.back(), {name, shown, shown, kFaceOff, false},
                &MessageBarClicks::oCommandBarItemEncryptionStatus_Click);
    }
    if (pass.m_lDecryptStatus == decrypt_status::kNotEncrypted &&
        pass.m_lSignStatus == sign_status::kNone) {
      return;
    }
    AddButton(*controls, oCommandBarItemShowOriginalMessage,
              {"ShowOriginalMessage", "Show original message", "Show original message",
               kFaceOriginalMessage, false},
              &MessageBarClicks::oCommandBarItemShowOriginalMessage_Click);
  });
}

void MessageBars::RemoveStatus() {
  RemoveBar(item_, g_sStatusCaption);
  oCommandBarItemEncryptionStatus.Drop();
  oCommandBarItemSigningStatus.Drop();
  oCommandBarItemShowOriginalMessage.Drop();
  remarks_.clear();
}

void MessageBars::AddOptions(bool encrypted_reply) {
  Guarded("MailItemNode::AddOptionsBar - ", [&] {
    if (g_bDisableKVPEntirely || item_->GetInspector()->IsWordMail()) {
      RemoveOptions();
      return;
    }
    const auto bar = FindBar(*item_, g_sOptionsCaption);
    if (!bar) {
      MakeOptionButtons(*AddBar(*item_, g_sOptionsCaption));
    } else if (!oCommandBarItemEncryptionOption.IsBound() ||
               !oCommandBarItemSigningOption.IsBound()) {
      BindOptionButtons(*bar->Controls());
    }
    ApplyOptionDefaults(encrypted_reply);
  });
}

void MessageBars::MakeOptionButtons(platform::CommandBarControls& controls) {
  const std::string product = Customization::AppLongName();
  AddButton(controls, oCommandBarItemEncryptionOption,
            {kEncryptionOption, "Encrypt on send", "Encrypt using " + product, kFaceOff, true},
            &MessageBarClicks::oCommandBarItemEncryptionOption_Click);
  AddButton(controls, oCommandBarItemSigningOption,
            {kSigningOption, "Sign on send", "Sign using " + product, kFaceOff, false},
            &MessageBarClicks::oCommandBarItemSigningOption_Click);
}

void MessageBars::BindOptionButtons(platform::CommandBarControls& controls) {
  BindButton(controls.Item(1), oCommandBarItemEncryptionOption, kEncryptionOption,
             &MessageBarClicks::oCommandBarItemEncryptionOption_Click);
  BindButton(controls.Item(2), oCommandBarItemSigningOption, kSigningOption,
             &MessageBarClicks::oCommandBarItemSigningOption_Click);
}

void MessageBars::RemoveOptions() {
  RemoveBar(item_, g_sOptionsCaption);
  oCommandBarItemEncryptionOption.Drop();
  oCommandBarItemSigningOption.Drop();
}

void MessageBars::ApplyOptionDefaults(bool encrypted_reply) {
  const bool in_outbox = item_->ParentName() == "Outbox";
  const bool can_sign = UserManagement::GetSigningAccount() != nullptr;
  // A choice that cannot be kept does not cost the other.
  const Error error = Attempt([&] {
    SetEncryptionOption((encrypted_reply || !g_bDisableOutgoingEncryption) && !in_outbox);
  });
  SetSigningOption(can_sign && !g_bDisableOutgoingSigning && !in_outbox, !can_sign);
  if (error.number != 0) throw error;
}

void MessageBars::SetEncryptionOption(bool on) {
  ShowPressed(oCommandBarItemEncryptionOption, on);
  KeepChoice(item_, kNoEncrypt, oCommandBarItemEncryptionOption, on);
}

void MessageBars::SetSigningOption(bool on, bool disabled) {
  ShowPressed(oCommandBarItemSigningOption, on);
  oCommandBarItemSigningOption.Button().SetEnabled(!disabled);
  KeepChoice(item_, kNoSign, oCommandBarItemSigningOption, on);
}

void MessageBars::ToggleEncryption() {
  SetEncryptionOption(!IsPressed(oCommandBarItemEncryptionOption));
}

void MessageBars::ToggleSigning() {
  SetSigningOption(!IsPressed(oCommandBarItemSigningOption), false);
}

}  // namespace corvessa
