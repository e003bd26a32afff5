#include <string>
#include <utility>

#include "accounts/user_management.h"
#include "base/guard.h"
#include "base/text.h"
#include "message/armour.h"
#include "message/frm_save_attachments.h"
#include "message/header_fields.h"
#include "message/item_access.h"
#include "message/mail_item_node.h"
#include "message/status_text.h"
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
  Ignoring([&] {
    if (const auto bar = FindBar(*item, name)) bar->Delete();
  });
}

platform::CommandBarControlsPtr AddBar(platform::MailItem& item, std::string_view name) {
  const auto bar = item.GetInspector()->CommandBars()->Add(name, true);
  bar->SetVisible(true);
  bar->SetPosition(platform::kBarTop);
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

struct MailItemNode::ButtonDesign {
  std::string_view name;
  std::string caption;
  std::string tooltip;
  std::int32_t face;
  bool begins_group;
};

void MailItemNode::AddButton(platform::CommandBarControls& controls, BarButton& button,
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

void MailItemNode::BindButton(platform::CommandBarButtonPtr found, BarButton& button,
                              std::string_view name, ClickOperation on_click) {
  // A tag of its own, or a click in one window would reach the message in every other.
  found->SetTag(std::string("CorvessaPro_OL.").append(name) + "." + Decimal(m_lNodeID));
  button.Bind(std::move(found), [node = weak_from_this(), on_click] {
    if (const auto held = node.lock()) ((*held).*on_click)();
  });
}

void MailItemNode::RemoveBars() {
  RemoveDecryptNowBar();
  RemoveDecryptAttachmentsBar();
  RemoveStatusBar();
  RemoveOptionsBar();
}

void MailItemNode::AddDecryptNowBar() {
  Guarded("MailItemNode::AddDecryptNowBar - ", [&] {
    if (g_bDisableKVPEntirely) return;
    if (!IsArmoured(*m_oMailItem->Body()) && !IsArmoured(*m_oMailItem->HTMLBody())) return;
    const auto controls = AddBar(*m_oMailItem, g_sDecryptNowCaption);
    AddButton(*controls, oCommandBarItemDecryptNow,
              {"DecryptNow", "&Decrypt/verify", "Decrypt/verify", kFaceDecrypt, true},
              &MailItemNode::oCommandBarItemDecryptNow_Click);
    ReportFacts(platform::MessageFacts::State::kLeftToButton);
  });
}

void MailItemNode::RemoveDecryptNowBar() {
  RemoveBar(m_oMailItem, g_sDecryptNowCaption);
  oCommandBarItemDecryptNow.Drop();
}

bool MailItemNode::LeavesAttachments() const {
  return !g_bDisableKVPEntirely && g_bDisableAutoDecryptAttachments && WasDecryptedOrVerified() &&
         m_oMailItem->Attachments()->Count() >= 1;
}

void MailItemNode::AddDecryptAttachmentsBar() {
  Guarded("AddDecryptAttachmentsBar Error - ", [&] {
    RemoveDecryptAttachmentsBar();
    if (!LeavesAttachments()) return;
    const auto controls = AddBar(*m_oMailItem, g_sDecryptAttachmentsCaption);
    AddButton(*controls, oCommandBarItemDecryptAttachments,
              {"DecryptAttachments", "&Decrypt/verify attachment(s)",
               "Decrypt/verify attachment(s)", kFaceDecrypt, true},
              &MailItemNode::oCommandBarItemDecryptAttachments_Click);
  });
}

void MailItemNode::RemoveDecryptAttachmentsBar() {
  RemoveBar(m_oMailItem, g_sDecryptAttachmentsCaption);
  oCommandBarItemDecryptAttachments.Drop();
}

void MailItemNode::AddStatusBar() {
  Guarded("AddEncryptionAndSigningStatusBar: ", [&] {
    if (g_bDisableKVPEntirely) return;
    RemoveStatusBar();
    const auto controls = AddBar(*m_oMailItem, g_sStatusCaption);
    const std::string encryption = "Message " + DecryptStatusText(m_lDecryptStatus);
    AddButton(*controls, oCommandBarItemEncryptionStatus,
              {"EncryptionStatus", encryption, encryption, StatusFace(m_lDecryptStatus), true},
              &MailItemNode::oCommandBarItemEncryptionStatus_Click);
    AddButton(*controls, oCommandBarItemSigningStatus,
              {"SigningStatus", "Message " + SignStatusText(m_lSignStatus, false),
               "Message " + SignStatusTextWithSigners(m_lSignStatus, m_sSigners),
               StatusFace(m_lSignStatus), false},
              &MailItemNode::oCommandBarItemSigningStatus_Click);
    if (m_lDecryptStatus == decrypt_status::kNotEncrypted && m_lSignStatus == sign_status::kNone) {
      return;
    }
    AddButton(*controls, oCommandBarItemShowOriginalMessage,
              {"ShowOriginalMessage", "Show original message", "Show original message",
               kFaceOriginalMessage, false},
              &MailItemNode::oCommandBarItemShowOriginalMessage_Click);
  });
}

void MailItemNode::RemoveStatusBar() {
  RemoveBar(m_oMailItem, g_sStatusCaption);
  oCommandBarItemEncryptionStatus.Drop();
  oCommandBarItemSigningStatus.Drop();
  oCommandBarItemShowOriginalMessage.Drop();
}

void MailItemNode::AddOptionsBar() {
  Guarded("MailItemNode::AddOptionsBar - ", [&] {
    if (g_bDisableKVPEntirely || m_oMailItem->GetInspector()->IsWordMail()) {
      RemoveOptionsBar();
      return;
    }
    const auto bar = FindBar(*m_oMailItem, g_sOptionsCaption);
    if (!bar) {
      MakeOptionButtons(*AddBar(*m_oMailItem, g_sOptionsCaption));
    } else if (!oCommandBarItemEncryptionOption.IsBound() ||
               !oCommandBarItemSigningOption.IsBound()) {
      BindOptionButtons(*bar->Controls());
    }
    ApplyOptionDefaults();
  });
}

void MailItemNode::MakeOptionButtons(platform::CommandBarControls& controls) {
  const std::string product = Customization::AppLongName();
  AddButton(controls, oCommandBarItemEncryptionOption,
            {kEncryptionOption, "Encrypt on send", "Encrypt using " + product, kFaceOff, true},
            &MailItemNode::oCommandBarItemEncryptionOption_Click);
  AddButton(controls, oCommandBarItemSigningOption,
            {kSigningOption, "Sign on send", "Sign using " + product, kFaceOff, false},
            &MailItemNode::oCommandBarItemSigningOption_Click);
}

void MailItemNode::BindOptionButtons(platform::CommandBarControls& controls) {
  BindButton(controls.Item(1), oCommandBarItemEncryptionOption, kEncryptionOption,
             &MailItemNode::oCommandBarItemEncryptionOption_Click);
  BindButton(controls.Item(2), oCommandBarItemSigningOption, kSigningOption,
             &MailItemNode::oCommandBarItemSigningOption_Click);
}

void MailItemNode::RemoveOptionsBar() {
  RemoveBar(m_oMailItem, g_sOptionsCaption);
  oCommandBarItemEncryptionOption.Drop();
  oCommandBarItemSigningOption.Drop();
}

void MailItemNode::ApplyOptionDefaults() {
  const bool in_outbox = m_oMailItem->ParentName() == "Outbox";
  const bool can_sign = UserManagement::GetSigningAccount() != nullptr;
  // A choice that cannot be kept does not cost the other.
  const Error error = Attempt([&] {
    SetEncryptionOption((m_bEncryptedReply || !g_bDisableOutgoingEncryption) && !in_outbox);
  });
  SetSigningOption(can_sign && !g_bDisableOutgoingSigning && !in_outbox, !can_sign);
  if (error.number != 0) throw error;
}

void MailItemNode::SetEncryptionOption(bool on) {
  ShowPressed(oCommandBarItemEncryptionOption, on);
  KeepChoice(m_oMailItem, kNoEncrypt, oCommandBarItemEncryptionOption, on);
}

void MailItemNode::SetSigningOption(bool on, bool disabled) {
  ShowPressed(oCommandBarItemSigningOption, on);
  oCommandBarItemSigningOption.Button().SetEnabled(!disabled);
  KeepChoice(m_oMailItem, kNoSign, oCommandBarItemSigningOption, on);
}

void MailItemNode::oCommandBarItemDecryptNow_Click() {
  const auto held = shared_from_this();
  Guarded("MailItemNode::oCommandBarItemDecryptNow_Click - ", [&] {
    const std::int32_t closings = closings_;
    DecryptVerifyMail(m_oMailItem, m_oTempAttachments, true);
    if (closings_ == closings) RemoveDecryptNowBar();
  });
}

void MailItemNode::oCommandBarItemDecryptAttachments_Click() {
  const auto held = shared_from_this();
  Guarded("MailItemNode::oCommandBarItemDecryptAttachments_Click - ",
          [&] { OpenSaveAttachments(m_oMailItem); });
}

void MailItemNode::oCommandBarItemShowOriginalMessage_Click() {
  const auto held = shared_from_this();
  Guarded("MailItemNode::oCommandBarItemShowOriginalMessage_Click - ",
          [&] { ShowStatus(kOriginalMessageTab); });
}

void MailItemNode::oCommandBarItemEncryptionStatus_Click() {
  const auto held = shared_from_this();
  Guarded("MailItemNode::oCommandBarItemEncryptionStatus_Click - ",
          [&] { ShowStatus(kEncryptionTab); });
}

void MailItemNode::oCommandBarItemSigningStatus_Click() {
  const auto held = shared_from_this();
  Guarded("MailItemNode::oCommandBarItemSigningStatus_Click - ", [&] { ShowStatus(kSigningTab); });
}

void MailItemNode::oCommandBarItemEncryptionOption_Click() {
  const auto held = shared_from_this();
  Guarded("MailItemNode::oCommandBarItemEncryptionOption_Click - ",
          [&] { SetEncryptionOption(!IsPressed(oCommandBarItemEncryptionOption)); });
}

void MailItemNode::oCommandBarItemSigningOption_Click() {
  const auto held = shared_from_this();
  Guarded("MailItemNode::oCommandBarItemSigningOption_Click - ",
          [&] { SetSigningOption(!IsPressed(oCommandBarItemSigningOption), false); });
}

}  // namespace corvessa
