#include "message/attachment_node.h"

#include "base/text.h"

namespace corvessa {

platform::Protection ProtectionOf(std::int32_t decrypted, std::int32_t verified,
                                  std::string_view signers) {
  platform::Protection protection{decrypted, verified};
  if (verified == sign_status::kGood) protection.signers = Split(signers, ", ");
  return protection;
}

platform::AttachmentFacts FactsOf(const AttachmentNode& node) {
  platform::AttachmentFacts facts{node.sDisplayName, {}};
  if (node.examined) {
    facts.protection = ProtectionOf(node.lDecryptStatus, node.lSignStatus, node.sSigners);
  }
  return facts;
}

std::string DecryptStatusText(std::int32_t status) {
  if (status == decrypt_status::kDone) return "is encrypted";
  if (status == decrypt_status::kNotEncrypted) return "is not encrypted";
  return "failed decryption (" + Str(status) + ")";
}

std::string SignStatusText(std::int32_t status, bool swapped) {
  if (status == (swapped ? sign_status::kBad : sign_status::kGood)) return "is digitally signed";
  if (status == (swapped ? sign_status::kGood : sign_status::kBad)) {
    return "has an invalid digital signature";
  }
  if (status == sign_status::kNone) return "is not digitally signed";
  return "failed digital signature verification (" + Str(status) + ")";
}

std::string SignStatusTextWithSigners(std::int32_t status, const std::string& signers) {
  const std::string text = SignStatusText(status, false);
  return status == sign_status::kGood ? text + " by " + ForDisplay(signers) : text;
}

std::int32_t StatusFace(std::int32_t status) {
  return status == 0 ? kFaceOn : kFaceOff;
}

}  // namespace corvessa
