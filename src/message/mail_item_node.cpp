#include "message/mail_item_node.h"

#include <cmath>
#include <utility>

#include "base/debug_info.h"
#include "base/guard.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "crypto/services.h"
#include "crypto/stored_files.h"
#include "forms/dialogs.h"
#include "message/armour.h"
#include "message/frm_message_status.h"
#include "message/frm_save_attachments.h"
#include "message/header_fields.h"
#include "message/message_operations.h"
#include "message/status_text.h"
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
    item_events_ = item->Subscribe(*this);
    if (IsReceived()) {
      m_sOriginalBody = item->Body();
      if (m_sOriginalBody->empty()) m_sOriginalBody = item->HTMLBody();
    }
    m_lNodeID = node_id;
  });
}

void MailItemNode::ClearNodeID() {
  m_lNodeID = 0;
  ++closings_;
}

bool MailItemNode::IsReceived() const {
  return !GetSenderName(m_oMailItem).empty();
}

bool MailItemNode::WasDecryptedOrVerified() const {
  return m_lDecryptStatus == decrypt_status::kDone || m_lSignStatus == sign_status::kGood;
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
    RemoveBars();
    ReportFacts(platform::MessageFacts::State::kLeftAlone);
    return TraceExit(m_bProcessed);
  }
  // Outlook raises both Read and Open for one opening: what the first of them built has to stay.
  if (m_bProcessed) return TraceExit(true);
  RemoveBars();
  ReportFacts(platform::MessageFacts::State::kLeftAlone);
  m_lDecryptStatus = -1;
  m_lSignStatus = -1;
  if (!body_replaced_) body_decrypted_ = false;
  if (!IsReceived()) {
    m_bEncryptedReply = ReadHeaderFlag(m_oMailItem, g_sEncryptedReplyCaption);
    AddOptionsBar();
    return;
  }
  if (g_bDisableAutoDecryptAndVerify) {
    AddDecryptNowBar();
    return;
  }
  m_bProcessed = true;
  DecryptVerifyMail(m_oMailItem, m_oTempAttachments, true);
}

void MailItemNode::m_oMailItem_AttachmentRead(const platform::AttachmentPtr& attachment) {
  const auto held = shared_from_this();
  Guarded("MailItemNode::m_oMailItem_AttachmentRead - ", [&] {
    if (g_bDisableKVPEntirely || m_bAttachmentNoticeShown || !WasDecryptedOrVerified()) return;
    if (attachment->ParentTypeName() != platform::kMailItemType) return;
    m_bAttachmentNoticeShown = true;
    if (!g_bDisableAutoDecryptAttachments) return;
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
    ++closings_;
    m_bProcessed = false;
    if (g_bDisableKVPEntirely || m_oMailItem->TypeName() != platform::kMailItemType) return;
    // A message whose attachment failed, or that was only signed, holds a changed body too.
    if (m_lDecryptStatus != decrypt_status::kDone && !body_replaced_ && !attachments_replaced_) {
      return;
    }
    const Error error = Attempt([&] { RestoreOriginal(); });
    CleanUp();
    if (error.number != 0) throw error;
  });
}

void MailItemNode::RestoreOriginal() {
  const Error error = Attempt([&] {
    const bool is_received = std::exchange(body_replaced_, false) || IsReceived();
    if (is_received && m_sOriginalBody && *m_oMailItem->Body() != *m_sOriginalBody) {
      m_oMailItem->SetBody(*m_sOriginalBody);
    }
  });
  // The files go back also when the text did not.
  if (std::exchange(attachments_replaced_, false)) {
    // One failure is not taken for an answer: Outlook may hold an attachment for a moment.
    if (!PutOriginalsBack() && !PutOriginalsBack()) KeepOriginals();
  }
  if (error.number != 0) throw error;
}

bool MailItemNode::PutOriginalsBack() {
  return Guarded("MailItemNode::RestoreOriginal - ", false, [&] {
    return Crypto()->ReInsertAttachments(m_oMailItem, m_oTempAttachments, true);
  });
}

void MailItemNode::KeepOriginals() {
  for (const AttachmentNodePtr& node : m_oTempAttachments) {
    const std::string path = std::exchange(node->original_filename, {});
    if (path.empty()) continue;
    if (node->sFilename == path) node->sFilename.clear();
    Debug_Info::TraceLog([&] { return "MailItemNode::RestoreOriginal - not deleted: " + path; });
  }
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
  WriteHeaderFlag(response, g_sEncryptedReplyCaption, body_decrypted_);
}

void MailItemNode::m_oMailItem_Forward(const platform::MailItemPtr& forward, bool& /*cancel*/) {
  const auto held = shared_from_this();
  Guarded("MailItemNode::m_oMailItem_Forward - ", [&] {
    if (g_bDisableKVPEntirely || !body_decrypted_) return;
    if (forward->TypeName() != platform::kMailItemType) return;
    const auto attachments = forward->Attachments();
    for (std::int32_t i = attachments->Count(); i >= 1; --i) attachments->Remove(i);
  });
}

void MailItemNode::CleanUp() {
  Guarded("MailItemNode::CleanUp - ", [&] {
    // Not through the engine wrapper, which may be gone already when the last node ends.
    DeleteStoredFiles(m_oTempAttachments);
    if (const auto window = std::exchange(m_frmStatus, nullptr)) window->Unload();
    if (m_oMailItem) UnloadSaveAttachments(m_oMailItem->EntryID());
  });
}

void MailItemNode::ReportFacts(platform::MessageFacts::State state) {
  Guarded("MailItemNode::ReportFacts - ", [&] {
    platform::MessageFacts facts{state};
    if (state == platform::MessageFacts::State::kRead) {
      facts.protection = ProtectionOf(m_lDecryptStatus, m_lSignStatus, m_sSigners);
      for (const AttachmentNodePtr& node : m_oTempAttachments) {
        facts.attachments.push_back(FactsOf(*node));
      }
      facts.attachments_left_to_button = LeavesAttachments();
      facts.shows_part = body_replaced_ && m_sOriginalBody && HoldsMoreThanArmour(*m_sOriginalBody);
    }
    platform::HostObserver().MessageChanged(m_oMailItem, facts);
  });
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
  window->SetEncryptionMessage("This message " + DecryptStatusText(m_lDecryptStatus));
  window->SetSignedMessage("This message " + SignStatusTextWithSigners(m_lSignStatus, m_sSigners));
  if (m_sOriginalBody) window->SetOriginalMessageBody(*m_sOriginalBody);
  window->SetFrom(ForDisplay(GetSenderName(m_oMailItem)));
  window->SetSubject(ForDisplay(m_oMailItem->Subject()));
  window->SetDate(m_oMailItem->ReceivedTime());
  window->ShowTab(tab);
  window->Show();
}

}  // namespace corvessa
