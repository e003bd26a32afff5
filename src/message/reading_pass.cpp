#include "message/reading_pass.h"

#include <utility>

#include "base/debug_info.h"
#include "base/guard.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "crypto/frm_timer.h"
#include "crypto/stored_files.h"
#include "forms/frm_progress.h"
#include "message/message_operations.h"
#include "platform/host.h"
#include "settings/settings.h"

namespace corvessa {
namespace {

/// The progress window round a pass, which ends with the per-use forgetting whatever happens.
class ProgressSession {
 public:
  ProgressSession(const platform::MailItemPtr& item, std::string_view caption)
      : window_(ProgressWindow()) {
    window_->Init(item, 0);
    window_->SetCaption(caption);
  }
  ~ProgressSession() {
    Guarded("MailItemNode:DecryptVerifyMail - ", [] { ForgetAfterUse(); });
    window_->Finish();
  }
  ProgressSession(const ProgressSession&) = delete;
  ProgressSession& operator=(const ProgressSession&) = delete;

 private:
  std::shared_ptr<frmProgress> window_;
};

/// False when one of the item's own attachments did not get back into it.
bool PutOriginalsBack(const platform::MailItemPtr& item, const AttachmentNodes& attachments) {
  return Guarded("MailItemNode::RestoreOriginal - ", false,
                 [&] { return Crypto()->ReInsertAttachments(item, attachments, true); });
}

void KeepOriginals(const AttachmentNodes& attachments) {
  for (const AttachmentNodePtr& node : attachments) {
    const std::string path = std::exchange(node->original_filename, {});
    if (path.empty()) continue;
    if (node->sFilename == path) node->sFilename.clear();
    Debug_Info::TraceLog([&] { return "MailItemNode::RestoreOriginal - not deleted: " + path; });
  }
}

}  // namespace

void ReadingPass::KeepOriginal(platform::MailItem& item) {
  m_sOriginalBody = item.Body();
  if (m_sOriginalBody->empty()) m_sOriginalBody = item.HTMLBody();
}

void ReadingPass::Reset() {
  m_lDecryptStatus = -1;
  m_lSignStatus = -1;
  ForgetFindings();
  if (!body_replaced_) body_decrypted_ = false;
}

void ReadingPass::ForgetFindings() {
  m_sSigners.clear();
  failure_ = {};
  marks_unprotected_ = false;
  part_signers_.clear();
  unsigned_sender_.clear();
  not_read_ = parts_.not_read;
}

void ReadingPass::SetPlain() {
  m_lDecryptStatus = decrypt_status::kNotEncrypted;
  m_lSignStatus = sign_status::kNone;
}

void ReadingPass::Run(const platform::MailItemPtr& item, AttachmentNodes& attachments,
                      bool received, std::string& text) {
  pass_closings_ = closings_;
  ForgetFindings();
  const ProgressSession progress(item, "Decrypting and verifying email");
  if (!IsStillOpen()) return;
  if (parts_.message) return DecryptPart(item, text, attachments);
  if (parts_.has_signature) return VerifyParts(item, text, attachments);
  // Makes an HTML message plain text, so that what is compared below is what Outlook shows.
  if (received) item->SetBody(*item->Body());
  text = *item->Body();
  if (IsPGPMessage(text) || IsPGPSignedMessage(text)) {
    DecryptVerifyText(item, text, attachments, received);
  } else {
    DecryptVerifyBlock(item, text, attachments, received);
  }
  FindSender(item);
}

void ReadingPass::DecryptVerifyText(const platform::MailItemPtr& item, std::string& text,
                                    AttachmentNodes& attachments, bool received) {
  if (g_bDisableAutoDecryptAttachments) {
    DecryptVerifyBody(item, text, attachments);
  } else {
    DecryptVerifyAll(item, text, attachments, received);
  }
}

void ReadingPass::ShowText(platform::MailItem& item, const std::string& text) {
  if (*item.Body() != text) {
    body_replaced_ = true;
    item.SetBody(text);
  }
  if (!inner_subject_) return;
  if (!outer_subject_) outer_subject_ = item.Subject();
  item.SetSubject(*inner_subject_);
}

void ReadingPass::HideSubject(platform::MailItem& response) const {
  if (!outer_subject_) return;
  // "RE: ", in the user's language.
  constexpr std::size_t kLongestPrefix = 8;
  const std::string subject = response.Subject();
  const std::size_t colon = subject.find(": ");
  const bool has_prefix = colon < kLongestPrefix && !inner_subject_->starts_with(subject);
  response.SetSubject((has_prefix ? subject.substr(0, colon + 2) : "") + *outer_subject_);
}

void ReadingPass::DecryptVerifyBody(const platform::MailItemPtr& item, std::string& text,
                                    AttachmentNodes& attachments) {
  const auto crypto = Crypto();
  crypto->DeclareCharset(item);
  crypto->OpenSignedText(text);
  const std::string armour = text;
  m_lDecryptStatus = crypto->DecryptMailItem(item, text, attachments);
  failure_ = crypto->LastFailure();
  // The status may be that of an attachment.
  if (text != armour) body_decrypted_ = true;
  // Behind the passphrase dialog the message may have been closed.
  if (!IsStillOpen()) return;
  // Verifying would reduce it to its signed part, and the rest exists nowhere else: it is all
  // shown. A good signature does not cover all of that; a bad one stays bad.
  if (body_decrypted_ && IsPGPSignedMessage(text) && HoldsMoreThanArmour(text)) {
    std::string signed_part = text;
    m_lSignStatus = crypto->VerifyMailItem(item, signed_part, attachments, m_sSigners);
    if (m_lSignStatus == sign_status::kGood) m_lSignStatus = sign_status::kNone;
    return;
  }
  m_lSignStatus = crypto->VerifyMailItem(item, text, attachments, m_sSigners);
  if (m_lSignStatus != sign_status::kGood && m_lSignStatus != sign_status::kNone) {
    failure_ = crypto->LastFailure();
  }
}

void ReadingPass::DecryptVerifyAll(const platform::MailItemPtr& item, std::string& text,
                                   AttachmentNodes& attachments, bool received) {
  const auto crypto = Crypto();
  PutBackEarlier(item, attachments);
  crypto->KillAllFiles(attachments);
  if (!crypto->StoreAllAttachments(item, attachments, false)) {
    m_lDecryptStatus = kGivenUp;
    m_lSignStatus = kGivenUp;
    return;
  }
  if (!IsStillOpen()) return;
  DecryptVerifyBody(item, text, attachments);
  if (!IsStillOpen() || !received) return;
  if (!crypto->HasEncryptedOrSignedAttachments(attachments)) return;
  attachments_replaced_ = true;
  crypto->ReInsertAttachments(item, attachments, false);
}

void ReadingPass::PutBackEarlier(const platform::MailItemPtr& item, AttachmentNodes& attachments) {
  // The item may hold what an earlier pass made, which must not be taken for its own.
  if (!attachments_replaced_) return;
  if (!PutOriginalsBack(item, OwnAttachments(attachments))) Raise(kPathFileAccess);
  attachments_replaced_ = false;
}

const AttachmentNodes& ReadingPass::OwnAttachments(const AttachmentNodes& attachments) const {
  return outer_attachments_.empty() ? attachments : outer_attachments_;
}

bool ReadingPass::HasChangedItem() const {
  // A message whose attachment failed, or that was only signed, holds a changed body too.
  return m_lDecryptStatus == decrypt_status::kDone || body_replaced_ || attachments_replaced_ ||
         outer_subject_;
}

void ReadingPass::RestoreOriginal(const platform::MailItemPtr& item, AttachmentNodes& attachments) {
  const Error error = Attempt([&] {
    const bool is_received = std::exchange(body_replaced_, false) || IsReceived(item);
    if (is_received && m_sOriginalBody && *item->Body() != *m_sOriginalBody) {
      item->SetBody(*m_sOriginalBody);
    }
    if (outer_subject_) item->SetSubject(*outer_subject_);
    outer_subject_.reset();
    inner_subject_.reset();
  });
  // The files go back also when the text did not.
  if (std::exchange(attachments_replaced_, false)) {
    // One failure is not taken for an answer: Outlook may hold an attachment for a moment.
    const AttachmentNodes& own = OwnAttachments(attachments);
    if (!PutOriginalsBack(item, own) && !PutOriginalsBack(item, own)) KeepOriginals(own);
  }
  DeleteStoredFiles(outer_attachments_);
  if (error.number != 0) throw error;
}

bool ReadingPass::WasDecryptedOrVerified() const {
  return m_lDecryptStatus == decrypt_status::kDone || m_lSignStatus == sign_status::kGood;
}

bool ReadingPass::LeavesAttachments(platform::MailItem& item) const {
  return !g_bDisableKVPEntirely && g_bDisableAutoDecryptAttachments && !parts_.Any() &&
         WasDecryptedOrVerified() && item.Attachments()->Count() >= 1;
}

platform::MessageFacts ReadingPass::Facts(const platform::MailItemPtr& item,
                                          const AttachmentNodes& attachments) const {
  platform::MessageFacts facts{platform::MessageFacts::State::kRead};
  facts.protection = ProtectionOf(m_lDecryptStatus, m_lSignStatus, m_sSigners, failure_);
  for (const AttachmentNodePtr& node : attachments) facts.attachments.push_back(FactsOf(*node));
  facts.attachments_left_to_button = LeavesAttachments(*item);
  facts.shows_part = body_replaced_ && m_sOriginalBody && HoldsMoreThanArmour(*m_sOriginalBody);
  facts.marks_unprotected = marks_unprotected_;
  facts.part_signers = part_signers_;
  facts.subject_protected = inner_subject_.has_value();
  facts.unsigned_sender = unsigned_sender_;
  facts.not_read = not_read_;
  return facts;
}

void ReadingPass::ReportFacts(const platform::MailItemPtr& item, const AttachmentNodes& attachments,
                              platform::MessageFacts::State state) const {
  Guarded("MailItemNode::ReportFacts - ", [&] {
    const bool was_read = state == platform::MessageFacts::State::kRead;
    platform::HostObserver().MessageChanged(
        item, was_read ? Facts(item, attachments) : platform::MessageFacts{state});
  });
}

}  // namespace corvessa
