#include "message/mail_item_node.h"

#include <cmath>
#include <utility>

#include "base/debug_info.h"
#include "base/guard.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "crypto/stored_files.h"
#include "forms/dialogs.h"
#include "message/attachment_node.h"
#include "message/frm_message_status.h"
#include "message/frm_save_attachments.h"
#include "message/message_operations.h"
#include "message/remarks.h"
#include "platform/host.h"
#include "platform/system.h"
#include "settings/edition.h"
#include "settings/settings.h"

namespace corvessa {
namespace {

std::string_view BooleanText(bool value) {
  return value ? "True" : "False";
}

void TraceExit(bool processed) {
  Debug_Info::TraceLog([&] {
    return std::string("MailItem_Open Exit (")
        .append(BooleanText(g_bDisableKVPEntirely))
        .append(", ")
        .append(BooleanText(processed))
        .append(")");
  });
}

}  // namespace

MailItemNode::MailItemNode() {
  Guarded("MailItemNode::Class_Initialize - ", [&] {
    platform::Clock& clock = platform::Host().clock;
    clock.Randomize();
    m_sRandomTag = Decimal(static_cast<std::int64_t>(std::floor(clock.Random() * 100)));
  });
}

MailItemNode::~MailItemNode() {
  CleanUp();
}

void MailItemNode::InitialiseNode(const platform::MailItemPtr& item, std::int32_t node_id) {
  Guarded("MailItemNode::InitialiseNode - ", [&] {
    m_oMailItem = item;
    bars_.Bind(item, node_id, weak_from_this());
    item_events_ = item->Subscribe(*this);
    if (WasReceived()) pass_.KeepOriginal(*item);
  });
}

bool MailItemNode::WasReceived() {
  if (!was_received_) was_received_ = IsReceived(m_oMailItem);
  return was_received_;
}

void MailItemNode::ClearNodeID() {
  pass_.CountClosing();
}

void MailItemNode::m_oMailItem_Open(bool& /*cancel*/) {
  const auto held = shared_from_this();
  Guarded("MailItemNode::m_oMailItem_Open - ", [&] { OpenItem(); });
}

void MailItemNode::m_oMailItem_Read() {
  const auto held = shared_from_this();
  Guarded("MailItemNode::m_oMailItem_Read - ", [&] { OpenItem(); });
}

void MailItemNode::OpenItem() {
  if (g_bDisableKVPEntirely) {
    bars_.RemoveAll();
    ReportFacts(platform::MessageFacts::State::kLeftAlone);
    return TraceExit(m_bProcessed);
  }
  // Outlook raises both Read and Open for one opening: what the first of them built has to stay.
  if (m_bProcessed) return TraceExit(true);
  bars_.RemoveAll();
  ReportFacts(platform::MessageFacts::State::kLeftAlone);
  pass_.Reset();
  if (!WasReceived()) {
    m_bEncryptedReply = ReadHeaderFlag(m_oMailItem, g_sEncryptedReplyCaption);
    bars_.AddOptions(m_bEncryptedReply);
    return;
  }
  if (g_bDisableAutoDecryptAndVerify) {
    if (bars_.AddDecryptNow(pass_.FindProtectedParts(*m_oMailItem, *m_oMailItem->Body())))
      ReportFacts(platform::MessageFacts::State::kLeftToButton);
    return;
  }
  m_bProcessed = true;
  DecryptVerifyMail(m_oMailItem, m_oTempAttachments, true);
}

void MailItemNode::DecryptVerifyMail(const platform::MailItemPtr& item,
                                     AttachmentNodes& attachments, bool headers) {
  if (in_pass_) return;
  const auto held = shared_from_this();
  in_pass_ = true;
  Guarded("MailItemNode:DecryptVerifyMail - ", [&] {
    const platform::SharedText body = item->Body();
    if (IsPGPMessage(*body) || IsPGPSignedMessage(*body) ||
        (WasReceived() && pass_.FindProtectedParts(*item, *body))) {
      Debug_Info::TraceLog("DecryptVerifyMailItem (Encrypted or signed)");
      DecryptVerifyProtected(item, attachments, headers);
      return;
    }
    Debug_Info::TraceLog("DecryptVerifyMailItem (Not encrypted or signed)");
    pass_.SetPlain();
    ShowResult();
  });
  in_pass_ = false;
}

void MailItemNode::DecryptVerifyProtected(const platform::MailItemPtr& item,
                                          AttachmentNodes& attachments, bool headers) {
  const bool received = WasReceived();
  std::string text;
  const Error error = Attempt([&] { pass_.Run(item, attachments, received, text); });
  if (!pass_.IsStillOpen()) {
    CleanUp();
  } else if (headers && received) {
    if (error.number == 0) pass_.ShowText(*item, text);
    // After an error too, so that the user sees that the message was not read.
    ShowResult();
  }
  if (error.number != 0) throw error;
}

void MailItemNode::ShowResult() {
  bars_.AddStatus(pass_, RemarksOn(pass_.Facts(m_oMailItem, m_oTempAttachments)));
  bars_.AddDecryptAttachments(pass_);
  ReportFacts(platform::MessageFacts::State::kRead);
}

void MailItemNode::ReportFacts(platform::MessageFacts::State state) {
  pass_.ReportFacts(m_oMailItem, m_oTempAttachments, state);
}

void MailItemNode::m_oMailItem_AttachmentRead(const platform::AttachmentPtr& attachment) {
  const auto held = shared_from_this();
  Guarded("MailItemNode::m_oMailItem_AttachmentRead - ", [&] {
    if (g_bDisableKVPEntirely || m_bAttachmentNoticeShown || !pass_.WasDecryptedOrVerified())
      return;
    if (attachment->ParentTypeName() != platform::kMailItemType) return;
    m_bAttachmentNoticeShown = true;
    if (!g_bDisableAutoDecryptAttachments || pass_.HasReadParts()) return;
    ShowGeneric(
        "This message appears to contain encrypted and/or signed attachments.\r\n\r\n"
        "To decrypt and verify attachments using " +
            Customization::AppLongName() +
            ", \r\nuse the 'Decrypt/verify attachment(s)' toolbar button.",
        frmGeneric::kOkOnly);
  });
}

void MailItemNode::m_oMailItem_PropertyChange(std::string_view name) {
  Debug_Info::TraceLog([&] { return std::string("MailItem PropertyChange ").append(name); });
}

void MailItemNode::m_oMailItem_Close(bool& /*cancel*/) {
  const auto held = shared_from_this();
  Guarded("MailItemNode::m_oMailItem_Close - ", [&] {
    pass_.CountClosing();
    m_bProcessed = false;
    if (g_bDisableKVPEntirely || m_oMailItem->TypeName() != platform::kMailItemType) return;
    if (!pass_.HasChangedItem()) return;
    const Error error = Attempt([&] { pass_.RestoreOriginal(m_oMailItem, m_oTempAttachments); });
    CleanUp();
    if (error.number != 0) throw error;
  });
}

void MailItemNode::m_oMailItem_Reply(const platform::MailItemPtr& response, bool& /*cancel*/) {
  const auto held = shared_from_this();
  Guarded("MailItemNode::m_oMailItem_Reply - ", [&] { WriteEncryptedReply(response); });
}

void MailItemNode::m_oMailItem_ReplyAll(const platform::MailItemPtr& response, bool& /*cancel*/) {
  const auto held = shared_from_this();
  Guarded("MailItemNode::m_oMailItem_ReplyAll - ", [&] { WriteEncryptedReply(response); });
}

void MailItemNode::WriteEncryptedReply(const platform::MailItemPtr& response) {
  if (g_bDisableKVPEntirely) return;
  WriteHeaderFlag(response, g_sEncryptedReplyCaption, pass_.WasBodyDecrypted());
  pass_.HideSubject(*response);
}

void MailItemNode::m_oMailItem_Forward(const platform::MailItemPtr& forward, bool& /*cancel*/) {
  const auto held = shared_from_this();
  Guarded("MailItemNode::m_oMailItem_Forward - ", [&] {
    if (g_bDisableKVPEntirely || !pass_.WasBodyDecrypted()) return;
    if (forward->TypeName() != platform::kMailItemType) return;
    pass_.HideSubject(*forward);
    const auto attachments = forward->Attachments();
    for (std::int32_t i = attachments->Count(); i >= 1; --i) attachments->Remove(i);
  });
}

void MailItemNode::CleanUp() {
  Guarded("MailItemNode::CleanUp - ", [&] {
    // Not through the engine wrapper, which may be gone already when the last node ends.
    DeleteStoredFiles(m_oTempAttachments);
    pass_.DeleteFiles();
    if (const auto window = std::exchange(m_frmStatus, nullptr)) window->Unload();
    if (m_oMailItem) UnloadSaveAttachments(m_oMailItem->EntryID());
  });
}

void MailItemNode::oCommandBarItemDecryptNow_Click() {
  const auto held = shared_from_this();
  Guarded("MailItemNode::oCommandBarItemDecryptNow_Click - ", [&] {
    const std::int32_t closings = pass_.Closings();
    DecryptVerifyMail(m_oMailItem, m_oTempAttachments, true);
    if (pass_.Closings() == closings) bars_.RemoveDecryptNow();
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
          [&] { bars_.ToggleEncryption(); });
}

void MailItemNode::oCommandBarItemSigningOption_Click() {
  const auto held = shared_from_this();
  Guarded("MailItemNode::oCommandBarItemSigningOption_Click - ", [&] { bars_.ToggleSigning(); });
}

void MailItemNode::ShowStatus(StatusTab tab) {
  if (!m_frmStatus || !m_frmStatus->IsLoaded()) m_frmStatus = std::make_shared<frmMessageStatus>();
  const auto window = m_frmStatus;
  window->Load();
  window->ClearAttachments();
  for (const AttachmentNodePtr& node : m_oTempAttachments) {
    const std::string name = ForDisplay(node->sDisplayName) + " ";
    window->AddAttachment(name + DecryptStatusText(node->lDecryptStatus),
                          name + SignStatusTextWithSigners(node->lSignStatus, node->sSigners));
  }
  window->SetEncryptionMessage("This message " + DecryptStatusText(pass_.m_lDecryptStatus));
  window->SetSignedMessage("This message " +
                           SignStatusTextWithSigners(pass_.m_lSignStatus, pass_.m_sSigners));
  if (pass_.Original()) window->SetOriginalMessageBody(*pass_.Original());
  window->SetFrom(ForDisplay(GetSenderName(m_oMailItem)));
  window->SetSubject(ForDisplay(m_oMailItem->Subject()));
  window->SetDate(m_oMailItem->ReceivedTime());
  window->ShowTab(tab);
  window->Show();
}

}  // namespace corvessa
