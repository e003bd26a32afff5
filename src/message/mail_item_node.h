#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "message/attachment_node.h"
#include "message/bar_button.h"
#include "platform/outlook.h"

namespace corvessa {

class frmMessageStatus;

/// One mail that is open in an inspector: reacts to its events, drives decryption when it is
/// opened, keeps what the status window needs, puts the armoured original back when it is closed,
/// and owns the message's command bars. A mail without a sender name is one being composed.
/// Nothing here throws, and nothing saves the item.
class MailItemNode final : public platform::MailItemEvents,
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

  void oCommandBarItemDecryptNow_Click();
  void oCommandBarItemDecryptAttachments_Click();
  void oCommandBarItemShowOriginalMessage_Click();
  void oCommandBarItemEncryptionStatus_Click();
  void oCommandBarItemSigningStatus_Click();
  void oCommandBarItemEncryptionOption_Click();
  void oCommandBarItemSigningOption_Click();

 private:
  enum StatusTab { kEncryptionTab = 1, kSigningTab = 2, kOriginalMessageTab = 3 };
  struct ButtonDesign;
  using ClickOperation = void (MailItemNode::*)();

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

  void OpenItem();
  bool IsReceived() const;
  bool WasDecryptedOrVerified() const;
  void WriteEncryptedReply(const platform::MailItemPtr& response);
  void RestoreOriginal();
  /// False when one of the item's own attachments did not get back into it.
  bool PutOriginalsBack();
  /// What could not be put back may exist nowhere else once the item is saved: the files stay on
  /// disk, and the trace says where.
  void KeepOriginals();
  void CleanUp();

  /// The attachments may be protected and are left so until the user saves them.
  bool LeavesAttachments() const;
  void ReportFacts(platform::MessageFacts::State state);

  /// The message has not been closed since the pass that runs began.
  bool IsStillOpen() const { return closings_ == pass_closings_; }
  void DecryptVerifyProtected(const platform::MailItemPtr& item, AttachmentNodes& attachments,
                              bool headers);
  void ShowText(platform::MailItem& item, const std::string& text);
  void DecryptVerifyBody(const platform::MailItemPtr& item, std::string& text,
                         AttachmentNodes& attachments);
  void DecryptVerifyAll(const platform::MailItemPtr& item, std::string& text,
                        AttachmentNodes& attachments, bool received);

  void RemoveBars();
  void AddDecryptNowBar();
  void RemoveDecryptNowBar();
  void AddDecryptAttachmentsBar();
  void RemoveDecryptAttachmentsBar();
  void AddStatusBar();
  void RemoveStatusBar();
  void AddOptionsBar();
  void RemoveOptionsBar();
  void MakeOptionButtons(platform::CommandBarControls& controls);
  void BindOptionButtons(platform::CommandBarControls& controls);
  void ApplyOptionDefaults();
  void SetEncryptionOption(bool on);
  void SetSigningOption(bool on, bool disabled);
  void AddButton(platform::CommandBarControls& controls, BarButton& button,
                 const ButtonDesign& design, ClickOperation on_click);
  void BindButton(platform::CommandBarButtonPtr found, BarButton& button, std::string_view name,
                  ClickOperation on_click);

  void ShowStatus(StatusTab tab);

  AttachmentNodes m_oTempAttachments;
  std::shared_ptr<frmMessageStatus> m_frmStatus;
  bool m_bEncryptedReply = false;
  std::int32_t m_lDecryptStatus = -1;
  std::int32_t m_lSignStatus = -1;
  std::string m_sSigners;
  /// Shared with the item: a long body is not copied to be looked at.
  platform::SharedText m_sOriginalBody;
  bool m_bAttachmentNoticeShown = false;
  std::int32_t m_lNodeID = 0;
  bool m_bProcessed = false;
  std::string m_sRandomTag;
  platform::MailItemPtr m_oMailItem;

  BarButton oCommandBarItemDecryptNow;
  BarButton oCommandBarItemDecryptAttachments;
  BarButton oCommandBarItemShowOriginalMessage;
  BarButton oCommandBarItemEncryptionStatus;
  BarButton oCommandBarItemSigningStatus;
  BarButton oCommandBarItemEncryptionOption;
  BarButton oCommandBarItemSigningOption;

  platform::Subscription item_events_;
  /// Counts the item's Close events and the inspector's letting go, so that a pass that let events
  /// run can tell whether its message is still open.
  std::int32_t closings_ = 0;
  std::int32_t pass_closings_ = 0;
  bool in_pass_ = false;
  /// The open item holds decrypted or verified text in place of the original.
  bool body_replaced_ = false;
  /// The text was decrypted since the message was opened, whatever became of its attachments:
  /// what answers or passes on the message may hold it.
  bool body_decrypted_ = false;
  /// The open item holds the processed files in place of its own attachments.
  bool attachments_replaced_ = false;
};

}  // namespace corvessa
