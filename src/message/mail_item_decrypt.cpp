#include <string>

#include "base/debug_info.h"
#include "base/guard.h"
#include "crypto/crypto_operations.h"
#include "crypto/services.h"
#include "forms/frm_progress.h"
#include "message/armour.h"
#include "message/mail_item_node.h"
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

}  // namespace

void MailItemNode::DecryptVerifyMail(const platform::MailItemPtr& item,
                                     AttachmentNodes& attachments, bool headers) {
  if (in_pass_) return;
  const auto held = shared_from_this();
  in_pass_ = true;
  Guarded("MailItemNode:DecryptVerifyMail - ", [&] {
    const platform::SharedText body = item->Body();
    if (IsPGPMessage(*body) || IsPGPSignedMessage(*body)) {
      Debug_Info::TraceLog("DecryptVerifyMailItem (Encrypted or signed)");
      DecryptVerifyProtected(item, attachments, headers);
      return;
    }
    Debug_Info::TraceLog("DecryptVerifyMailItem (Not encrypted or signed)");
    m_lDecryptStatus = decrypt_status::kNotEncrypted;
    m_lSignStatus = sign_status::kNone;
    AddStatusBar();
    AddDecryptAttachmentsBar();
    ReportFacts(platform::MessageFacts::State::kRead);
  });
  in_pass_ = false;
}

void MailItemNode::DecryptVerifyProtected(const platform::MailItemPtr& item,
                                          AttachmentNodes& attachments, bool headers) {
  pass_closings_ = closings_;
  // In a message that is being composed nothing changes.
  const bool received = IsReceived();
  std::string text;
  m_sSigners.clear();
  const Error error = Attempt([&] {
    const ProgressSession progress(item, "Decrypting and verifying email");
    if (!IsStillOpen()) return;
    // Makes an HTML message plain text, so that what is compared below is what Outlook shows.
    if (received) item->SetBody(*item->Body());
    text = *item->Body();
    if (g_bDisableAutoDecryptAttachments) {
      DecryptVerifyBody(item, text, attachments);
    } else {
      DecryptVerifyAll(item, text, attachments, received);
    }
  });
  if (!IsStillOpen()) {
    CleanUp();
  } else if (headers && received) {
    if (error.number == 0) ShowText(*item, text);
    // After an error too, so that the user sees that the message was not read.
    AddStatusBar();
    AddDecryptAttachmentsBar();
    ReportFacts(platform::MessageFacts::State::kRead);
  }
  if (error.number != 0) throw error;
}

void MailItemNode::ShowText(platform::MailItem& item, const std::string& text) {
  if (*item.Body() == text) return;
  body_replaced_ = true;
  item.SetBody(text);
}

void MailItemNode::DecryptVerifyBody(const platform::MailItemPtr& item, std::string& text,
                                     AttachmentNodes& attachments) {
  const auto crypto = Crypto();
  const std::string armour = text;
  m_lDecryptStatus = crypto->DecryptMailItem(item, text, attachments);
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
}

void MailItemNode::DecryptVerifyAll(const platform::MailItemPtr& item, std::string& text,
                                    AttachmentNodes& attachments, bool received) {
  const auto crypto = Crypto();
  // The item may hold what an earlier pass made, which must not be taken for its own.
  if (attachments_replaced_) {
    if (!PutOriginalsBack()) Raise(kPathFileAccess);
    attachments_replaced_ = false;
  }
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

}  // namespace corvessa
