#pragma once

#include <cstdint>
#include <string>

#include "message/attachment_node.h"
#include "platform/observer.h"
#include "platform/outlook.h"

namespace corvessa {

/// A received message being read: the pass that decrypts and verifies it, what that found, and what
/// it replaced in the open item and has to put back. The item is never saved.
///
/// Everything that shows progress or a dialog lets events run, in which the message may be closed;
/// the pass then ends without touching the item.
class ReadingPass {
 public:
  /// The text to put back and to show as the original: that of the item as it was received.
  void KeepOriginal(platform::MailItem& item);
  const platform::SharedText& Original() const { return m_sOriginalBody; }

  /// A new opening: nothing is known yet.
  void Reset();
  /// The message is neither encrypted nor signed.
  void SetPlain();
  /// Decrypts and verifies an armoured message and, unless they are left to their button, its
  /// attachments, which the item gets in place of its own when `received`: in one that is being
  /// composed nothing changes. `text` receives what was read. Throws what fails; the statuses tell
  /// how far it came.
  void Run(const platform::MailItemPtr& item, AttachmentNodes& attachments, bool received,
           std::string& text);
  /// Puts the text that was read into the item.
  void ShowText(platform::MailItem& item, const std::string& text);

  /// The item's window closes, or lets go of the message.
  void CountClosing() { ++closings_; }
  std::int32_t Closings() const { return closings_; }
  /// The message has not been closed since the pass began.
  bool IsStillOpen() const { return closings_ == pass_closings_; }

  /// The open item may hold something else than the message that was received.
  bool HasChangedItem() const;
  /// Puts the original text and attachments back into the item. Attachments that cannot go back may
  /// exist nowhere else once the item is saved: their files stay on disk, and the trace says where.
  void RestoreOriginal(const platform::MailItemPtr& item, AttachmentNodes& attachments);

  bool WasDecryptedOrVerified() const;
  /// The text was decrypted since the message was opened, whatever became of its attachments: what
  /// answers or passes on the message may hold it.
  bool WasBodyDecrypted() const { return body_decrypted_; }
  /// The attachments may be protected and are left so until the user saves them.
  bool LeavesAttachments(platform::MailItem& item) const;
  /// Tells the host's observer. Never throws.
  void ReportFacts(const platform::MailItemPtr& item, const AttachmentNodes& attachments,
                   platform::MessageFacts::State state) const;

  std::int32_t m_lDecryptStatus = -1;
  std::int32_t m_lSignStatus = -1;
  std::string m_sSigners;

 private:
  void DecryptVerifyBody(const platform::MailItemPtr& item, std::string& text,
                         AttachmentNodes& attachments);
  void DecryptVerifyAll(const platform::MailItemPtr& item, std::string& text,
                        AttachmentNodes& attachments, bool received);

  /// Shared with the item: a long body is not copied to be looked at.
  platform::SharedText m_sOriginalBody;
  /// Counts the closings, so that a pass that let events run can tell whether one came.
  std::int32_t closings_ = 0;
  std::int32_t pass_closings_ = 0;
  /// The open item holds decrypted or verified text in place of the original.
  bool body_replaced_ = false;
  bool body_decrypted_ = false;
  /// The open item holds the processed files in place of its own attachments.
  bool attachments_replaced_ = false;
};

}  // namespace corvessa
