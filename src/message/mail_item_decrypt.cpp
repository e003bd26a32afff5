#include <string>
#include <utility>

#include "accounts/settings.h"
#include "addin/debug_info.h"
#include "addin/services.h"
#include "base/guard.h"
#include "crypto/crypto_operations.h"
#include "forms/frm_progress.h"
#include "message/armour.h"
#include "message/mail_item_node.h"

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
    m_lDecryptStatus = kNotEncrypted;
    m_lSignStatus = kNotSigned;
    AddStatusBar();
    AddDecryptAttachmentsBar();
  });
  in_pass_ = false;
}

void MailItemNode::DecryptVerifyProtected(const platform::MailItemPtr& item,
                                          AttachmentNodes& attachments, bool headers) {
  const std::int32_t closings = closings_;
  std::string text;
  {
    const ProgressSession progress(item, "Decrypting and verifying email");
    // Makes an HTML message plain text, so that what is compared below is what Outlook shows.
    item->SetBody(*item->Body());
    text = *item->Body();
    m_sSigners.clear();
    if (g_bDisableAutoDecryptAttachments) {
      DecryptVerifyBody(item, text, attachments);
    } else {
      DecryptVerifyAll(item, text, attachments);
    }
  }
  if (closings_ != closings) {
    CleanUp();
    return;
  }
  if (!headers || !IsReceived()) return;
  if (*item->Body() != text) {
    body_replaced_ = true;
    item->SetBody(text);
  }
  AddStatusBar();
  AddDecryptAttachmentsBar();
}

void MailItemNode::DecryptVerifyBody(const platform::MailItemPtr& item, std::string& text,
                                     AttachmentNodes& attachments) {
  const std::int32_t closings = closings_;
  const auto crypto = Crypto();
  m_lDecryptStatus = crypto->DecryptMailItem(item, text, attachments);
  // Behind the passphrase dialog the message may have been closed.
  if (closings_ != closings) return;
  m_lSignStatus = crypto->VerifyMailItem(item, text, attachments, m_sSigners);
}

void MailItemNode::DecryptVerifyAll(const platform::MailItemPtr& item, std::string& text,
                                    AttachmentNodes& attachments) {
  const std::int32_t closings = closings_;
  const auto crypto = Crypto();
  crypto->KillAllFiles(attachments);
  if (!crypto->StoreAllAttachments(item, attachments, false)) {
    m_lDecryptStatus = -1;
    m_lSignStatus = -1;
    return;
  }
  if (closings_ != closings) return;
  DecryptVerifyBody(item, text, attachments);
  if (closings_ != closings || !crypto->HasEncryptedOrSignedAttachments(attachments)) return;
  attachments_replaced_ = true;
  crypto->ClearAttachments(item);
  crypto->ReInsertAttachments(item, attachments, false);
}

}  // namespace corvessa
