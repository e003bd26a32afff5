#include <algorithm>
#include <utility>

#include "base/address.h"
#include "base/guard.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "crypto/stored_files.h"
#include "crypto/temp_files.h"
#include "message/message_operations.h"
#include "message/reading_pass.h"
#include "platform/files.h"
#include "platform/host.h"
#include "settings/settings.h"

// What other programs send beside armoured text: PGP/MIME, and protected blocks below other text.

namespace corvessa {
namespace {

/// PR_SENT_REPRESENTING_EMAIL_ADDRESS: the address in From.
constexpr std::int32_t kFromAddressTag = 0x0065001E;

constexpr std::string_view kBlanks = " \t\r\n";

/// Reads the decrypted file of a node and deletes it; the node has its original again.
std::string TakeDecrypted(AttachmentNode& node) {
  std::string content = platform::Host().files.Read(node.sFilename);
  DeleteOrQueue(node.sFilename);
  node.sFilename = node.original_filename;
  return content;
}

std::vector<Verdict> VerifyAll(const std::vector<platform::MimeSignature>& signatures) {
  std::vector<Verdict> verdicts;
  for (const platform::MimeSignature& signature : signatures) {
    verdicts.push_back(Crypto()->VerifyPart(signature.content, signature.signature));
  }
  return verdicts;
}

/// The verdict on a part; `around` covers all of the mail.
Verdict VerdictOn(const platform::MimeCoverage& coverage, const std::vector<Verdict>& verdicts,
                  const Verdict& around = {}) {
  std::vector<Verdict> covering{around};
  for (const std::size_t number : coverage) covering.push_back(verdicts.at(number));
  return Combined(covering);
}

void SetVerdictOf(AttachmentNode& node, const Verdict& verdict) {
  node.examined = true;
  node.lSignStatus = verdict.status;
  node.sSigners = verdict.signers;
  node.failure = verdict.failure;
}

/// The protected subject: the mail's own, or that of the part that is all of it.
std::optional<std::string> SubjectOf(const platform::MimeMessage& message) {
  if (message.subject) return message.subject;
  const bool is_signed = message.text_signed_by.size() == 1 && message.text_signed_by.front() == 0;
  return is_signed ? message.signatures.front().subject : std::nullopt;
}

}  // namespace

bool ReadingPass::FindProtectedParts(platform::MailItem& item, std::string_view body) {
  // While the item holds what an earlier pass made, that pass knows best.
  if (attachments_replaced_ || body_replaced_) return parts_.Any() || marks_unprotected_;
  const bool is_armoured = IsPGPMessage(body) || IsPGPSignedMessage(body);
  parts_ = platform::Host().mime && !is_armoured ? FindOpenPgpParts(item, body) : OpenPgpParts();
  not_read_ = parts_.not_read;
  return parts_.Any() || FindLaterBlock(body).has_value();
}

void ReadingPass::DeleteFiles() {
  DeleteStoredFiles(outer_attachments_);
}

void ReadingPass::SetVerdict(const Verdict& verdict) {
  m_lSignStatus = verdict.status;
  m_sSigners = verdict.signers;
  if (verdict.status != sign_status::kGood) failure_ = verdict.failure;
}

void ReadingPass::MarkAround(std::string_view before, std::string& text, std::string_view after) {
  const std::string marked_before = MarkedAsUnprotected(before);
  const std::string marked_after = MarkedAsUnprotected(after);
  if (marked_before.empty() && marked_after.empty()) return;
  if (!marked_before.empty()) text.insert(0, marked_before + "\r\n");
  if (!marked_after.empty()) text += (text.ends_with('\n') ? "\r\n" : "\r\n\r\n") + marked_after;
  marks_unprotected_ = true;
  if (m_lSignStatus != sign_status::kGood) return;
  part_signers_ = Split(std::exchange(m_sSigners, {}), ", ");
  m_lSignStatus = sign_status::kNone;
}

void ReadingPass::DecryptVerifyBlock(const platform::MailItemPtr& item, std::string& text,
                                     AttachmentNodes& attachments, bool received) {
  const std::string whole = text;
  const auto found = FindLaterBlock(whole);
  if (!found) return SetPlain();
  std::string block(found->block);
  DecryptVerifyText(item, block, attachments, received);
  if (!WasBodyDecrypted() && m_lSignStatus != sign_status::kGood) return;
  text = std::move(block);
  MarkAround(found->before, text, found->after);
  if (FindLaterBlock(found->after)) {
    not_read_.push_back({"", "Only the first of several protected blocks was read."});
  }
}

void ReadingPass::DecryptPart(const platform::MailItemPtr& item, std::string& text,
                              AttachmentNodes& attachments) {
  const auto crypto = Crypto();
  if (!body_replaced_) outer_text_ = *item->Body();
  text = *item->Body();
  PutBackEarlier(item, attachments);
  crypto->KillAllFiles(attachments);
  crypto->KillAllFiles(outer_attachments_);
  m_lDecryptStatus = m_lSignStatus = kGivenUp;
  if (!crypto->StoreAllAttachments(item, outer_attachments_, false)) return;
  if (!IsStillOpen()) return;
  if (outer_attachments_.size() != parts_.names.size()) {
    Raise(kInvalidArgument, "The attachments of this message have changed.");
  }
  AttachmentNode& node = *outer_attachments_[*parts_.message];
  original_armour_ =
      std::make_shared<const std::string>(platform::Host().files.Read(node.sFilename));
  m_lDecryptStatus = crypto->DecryptMessageFile(node);
  failure_ = crypto->LastFailure();
  m_lSignStatus = sign_status::kNone;
  if (m_lDecryptStatus != decrypt_status::kDone) {
    if (m_lDecryptStatus == decrypt_status::kNotEncrypted) {
      not_read_.push_back({node.sDisplayName, failure_.reason});
    }
    return;
  }
  body_decrypted_ = true;
  const Verdict inside{node.lSignStatus, node.sSigners, node.failure};
  const std::string content = TakeDecrypted(node);
  if (IsStillOpen()) ReadDecrypted(item, content, inside, text, attachments);
}

void ReadingPass::ReadDecrypted(const platform::MailItemPtr& item, const std::string& content,
                                const Verdict& inside, std::string& text,
                                AttachmentNodes& attachments) {
  const platform::MimeMessage message = platform::Host().mime->Read(content);
  const std::vector<Verdict> verdicts = VerifyAll(message.signatures);
  if (!IsStillOpen()) return;
  text = message.text;
  std::vector<Verdict> on_text{VerdictOn(message.text_signed_by, verdicts, inside)};
  if (IsPGPSignedMessage(text) && !HoldsMoreThanArmour(text)) {
    Verdict& inline_signature = on_text.emplace_back();
    AttachmentNodes none;
    inline_signature.status = Crypto()->VerifyMailItem(item, text, none, inline_signature.signers);
    inline_signature.failure = Crypto()->LastFailure();
  }
  SetVerdict(Combined(on_text));
  inner_subject_ = SubjectOf(message);
  TakeFiles(message, verdicts, inside, attachments);
  for (std::size_t i = 0; i < outer_attachments_.size(); ++i) {
    if (i == parts_.message || i == parts_.version) continue;
    outer_attachments_[i]->examined = true;
    attachments.push_back(outer_attachments_[i]);
  }
  attachments_replaced_ = true;
  Crypto()->ReInsertAttachments(item, attachments, false);
  MarkAround(outer_text_, text, "");
  FindSender(item);
}

void ReadingPass::TakeFiles(const platform::MimeMessage& message,
                            const std::vector<Verdict>& verdicts, const Verdict& around,
                            AttachmentNodes& attachments) {
  std::vector<std::string> names;
  std::vector<std::string_view> contents;
  for (const platform::MimeFile& file : message.files) {
    names.push_back(file.name);
    contents.emplace_back(file.bytes);
    if (Trim(file.bytes, kBlanks).starts_with("-----BEGIN PGP MESSAGE-----")) {
      not_read_.push_back({file.name, "It is encrypted once more inside this message."});
    }
  }
  attachments = WriteFiles(names, contents);
  for (std::size_t i = 0; i < attachments.size(); ++i) {
    AttachmentNode& node = *attachments[i];
    node.lDecryptStatus = decrypt_status::kDone;
    node.bDetachedSig = message.files[i].is_signature;
    SetVerdictOf(node, VerdictOn(message.files[i].signed_by, verdicts, around));
  }
}

void ReadingPass::VerifyParts(const platform::MailItemPtr& item, std::string& text,
                              AttachmentNodes& attachments) {
  SetPlain();
  text = *item->Body();
  const platform::SharedText source = item->Source();
  if (!source) {
    not_read_.push_back({"",
                         "The signature of this PGP/MIME mail cannot be checked, because "
                         "Outlook does not keep the mail as it was sent."});
    return;
  }
  const platform::MimeMessage message = platform::Host().mime->Read(*source);
  if (message.signatures.empty() || message.files.size() != parts_.names.size()) {
    not_read_.push_back({"", "A signature in this mail does not belong to a signed part."});
    return;
  }
  const std::vector<Verdict> verdicts = VerifyAll(message.signatures);
  if (!IsStillOpen()) return;
  SetVerdict(VerdictOn(message.text_signed_by, verdicts));
  Crypto()->KillAllFiles(attachments);
  for (const platform::MimeFile& file : message.files) {
    // Without a file: the item's attachment is what it was.
    const auto node = std::make_shared<AttachmentNode>();
    node->sDisplayName = file.name;
    SetVerdictOf(*node, VerdictOn(file.signed_by, verdicts));
    attachments.push_back(node);
  }
  if (m_lSignStatus != sign_status::kGood) return;
  // What is shown is what was verified, and no HTML beside it.
  item->SetBody(message.text);
  body_replaced_ = true;
  text = message.text;
  if (message.text_signed_by.size() == 1) {
    inner_subject_ = message.signatures[message.text_signed_by.front()].subject;
  }
  FindSender(item);
}

void ReadingPass::FindSender(const platform::MailItemPtr& item) {
  if (m_lSignStatus != sign_status::kGood) return;
  Guarded("MailItemNode::FindSender - ", [&] {
    const std::string sender = NormalAddress(SafeItem(item).Safe().Fields(kFromAddressTag));
    // Exchange has names of its own for its users.
    if (!IsAddress(sender)) return;
    const std::vector<std::string> signers = Split(m_sSigners, ", ");
    const bool has_signed = std::ranges::any_of(
        signers, [&](const std::string& signer) { return NormalAddress(signer) == sender; });
    if (!has_signed) unsigned_sender_ = sender;
  });
}

}  // namespace corvessa
