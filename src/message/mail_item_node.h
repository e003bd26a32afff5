#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "message/attachment_node.h"
#include "message/message_bars.h"
#include "message/reading_pass.h"
#include "platform/outlook.h"

namespace corvessa {

class frmMessageStatus;

/// One mail that is open in an inspector: reacts to its events and to the clicks on its bars, has
/// it read when it is opened, opens its status window, and has the original put back when it is
/// closed. A mail without a sender name is one being composed. Nothing here throws, and nothing
/// saves the item.
class MailItemNode final : public platform::MailItemEvents,
                           public MessageBarClicks,
                           public std::enable_shared_from_this<MailItemNode> {
 public:
  MailItemNode();
  ~MailItemNode() override;
  MailItemNode(const MailItemNode&) = delete;
  MailItemNode& operator=(const MailItemNode&) = delete;

  /// `node_id` is the number of the item's window; it makes the tags of the buttons unique.
  void InitialiseNode(const platform::MailItemPtr& item, std::int32_t node_id);
  /// The inspector lets go of the node: a pass that still runs ends without touching the item.
  void ClearNodeID();

  void m_oMailItem_AttachmentRead(const platform::AttachmentPtr& attachment);
  void m_oMailItem_Open(bool& cancel);
  void m_oMailItem_Read();
  void m_oMailItem_PropertyChange(std::string_view name);
  void m_oMailItem_Close(bool& cancel);
  void m_oMailItem_Reply(const platform::MailItemPtr& response, bool& cancel);
  void m_oMailItem_ReplyAll(const platform::MailItemPtr& response, bool& cancel);
  void m_oMailItem_Forward(const platform::MailItemPtr& forward, bool& cancel);

  /// Decrypts and verifies body and attachments. `headers` permits writing the result into the
  /// open item and refreshing its bars. A pass begun inside another of the same node does nothing.
  void DecryptVerifyMail(const platform::MailItemPtr& item, AttachmentNodes& attachments,
                         bool headers);

  void oCommandBarItemDecryptNow_Click() override;
  void oCommandBarItemDecryptAttachments_Click() override;
  void oCommandBarItemShowOriginalMessage_Click() override;
  void oCommandBarItemEncryptionStatus_Click() override;
  void oCommandBarItemSigningStatus_Click() override;
  void oCommandBarItemEncryptionOption_Click() override;
  void oCommandBarItemSigningOption_Click() override;

 private:
  enum StatusTab { kEncryptionTab = 1, kSigningTab = 2, kOriginalMessageTab = 3 };

  void AttachmentRead(const platform::AttachmentPtr& attachment) override {
    m_oMailItem_AttachmentRead(attachment);
  }
  void Open(bool& cancel) override { m_oMailItem_Open(cancel); }
  void Read() override { m_oMailItem_Read(); }
  void PropertyChange(std::string_view name) override { m_oMailItem_PropertyChange(name); }
  void Close(bool& cancel) override { m_oMailItem_Close(cancel); }
  void Reply(const platform::MailItemPtr& response, bool& cancel) override {
    m_oMailItem_Reply(response, cancel);
  }
  void ReplyAll(const platform::MailItemPtr& response, bool& cancel) override {
    m_oMailItem_ReplyAll(response, cancel);
  }
  void Forward(const platform::MailItemPtr& forward, bool& cancel) override {
    m_oMailItem_Forward(forward, cancel);
  }

  /// Asks the item until it says yes: a mail that was received stays one.
  bool WasReceived();
  void OpenItem();
  void DecryptVerifyProtected(const platform::MailItemPtr& item, AttachmentNodes& attachments,
                              bool headers);
  /// In the bars, and to the host.
  void ShowResult();
  void ReportFacts(platform::MessageFacts::State state);
  void WriteEncryptedReply(const platform::MailItemPtr& response);
  void ShowStatus(StatusTab tab);
  void CleanUp();

  AttachmentNodes m_oTempAttachments;
  std::shared_ptr<frmMessageStatus> m_frmStatus;
  bool m_bEncryptedReply = false;
  bool m_bAttachmentNoticeShown = false;
  bool m_bProcessed = false;
  std::string m_sRandomTag;
  platform::MailItemPtr m_oMailItem;

  MessageBars bars_;
  ReadingPass pass_;
  platform::Subscription item_events_;
  bool in_pass_ = false;
  bool was_received_ = false;
};

}  // namespace corvessa
