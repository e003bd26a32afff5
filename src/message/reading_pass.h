#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "message/attachment_node.h"
#include "message/openpgp_parts.h"
#include "platform/mime.h"
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
  /// To be shown; the armour of a PGP/MIME mail, whose own text is empty.
  const platform::SharedText& Original() const {
    return original_armour_ ? original_armour_ : m_sOriginalBody;
  }

  /// A new opening: nothing is known yet.
  void Reset();
  /// Looks for an encrypted message or a signature among the attachments (PGP/MIME) and for a block
  /// below other text; whether there is anything for Run to do.
  bool FindProtectedParts(platform::MailItem& item, std::string_view body);
  /// The message is neither encrypted nor signed.
  void SetPlain();
  /// The message was found among the attachments.
  bool HasReadParts() const { return parts_.Any(); }
  /// Decrypts and verifies an armoured message, or what FindProtectedParts has found, and, unless
  /// they are left to their button, its attachments, which the item gets in place of its own when
  /// `received`: in one that is being composed nothing changes. `text` receives what was read.
  /// Throws what fails; the statuses tell how far it came.
  void Run(const platform::MailItemPtr& item, AttachmentNodes& attachments, bool received,
           std::string& text);
  /// Puts the text that was read into the item, and the subject that came with it.
  void ShowText(platform::MailItem& item, const std::string& text);
  /// Takes the protected subject out of a response, which travels in clear.
  void HideSubject(platform::MailItem& response) const;

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

  /// The files that belong to this reading, besides those of `attachments`.
  void DeleteFiles();

  bool WasDecryptedOrVerified() const;
  /// The text was decrypted since the message was opened, whatever became of its attachments: what
  /// answers or passes on the message may hold it.
  bool WasBodyDecrypted() const { return body_decrypted_; }
  /// The attachments may be protected and are left so until the user saves them.
  bool LeavesAttachments(platform::MailItem& item) const;
  /// What was found, for the host's observer and for the bars. Throws what the item throws.
  platform::MessageFacts Facts(const platform::MailItemPtr& item,
                               const AttachmentNodes& attachments) const;
  /// Tells the host's observer. Never throws.
  void ReportFacts(const platform::MailItemPtr& item, const AttachmentNodes& attachments,
                   platform::MessageFacts::State state) const;

  std::int32_t m_lDecryptStatus = -1;
  std::int32_t m_lSignStatus = -1;
  std::string m_sSigners;

 private:
  void ForgetFindings();
  void DecryptVerifyBody(const platform::MailItemPtr& item, std::string& text,
                         AttachmentNodes& attachments);
  void DecryptVerifyAll(const platform::MailItemPtr& item, std::string& text,
                        AttachmentNodes& attachments, bool received);
  void DecryptVerifyText(const platform::MailItemPtr& item, std::string& text,
                         AttachmentNodes& attachments, bool received);
  void DecryptVerifyBlock(const platform::MailItemPtr& item, std::string& text,
                          AttachmentNodes& attachments, bool received);
  void DecryptPart(const platform::MailItemPtr& item, std::string& text,
                   AttachmentNodes& attachments);
  void ReadDecrypted(const platform::MailItemPtr& item, const std::string& content,
                     const Verdict& inside, std::string& text, AttachmentNodes& attachments);
  void TakeFiles(const platform::MimeMessage& message, const std::vector<Verdict>& verdicts,
                 const Verdict& around, AttachmentNodes& attachments);
  void VerifyParts(const platform::MailItemPtr& item, std::string& text,
                   AttachmentNodes& attachments);
  /// Puts what stood around the protected text around it again, marked. The whole is not signed.
  void MarkAround(std::string_view before, std::string& text, std::string_view after);
  void SetVerdict(const Verdict& verdict);
  void FindSender(const platform::MailItemPtr& item);
  /// The item's own attachments go back in place of what an earlier pass made.
  void PutBackEarlier(const platform::MailItemPtr& item, AttachmentNodes& attachments);
  const AttachmentNodes& OwnAttachments(const AttachmentNodes& attachments) const;

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

  OpenPgpParts parts_;
  platform::SharedText original_armour_;
  /// The item's own attachments, when those shown came from inside one of them.
  AttachmentNodes outer_attachments_;
  /// The item's text before it was replaced by that of a part.
  std::string outer_text_;
  /// What the item is to be called while it is open, and its own subject.
  std::optional<std::string> inner_subject_;
  std::optional<std::string> outer_subject_;
  FailureDetails failure_;
  bool marks_unprotected_ = false;
  std::vector<std::string> part_signers_;
  std::string unsigned_sender_;
  std::vector<platform::UnreadPart> not_read_;
};

}  // namespace corvessa
