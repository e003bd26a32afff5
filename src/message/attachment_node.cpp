#include "message/attachment_node.h"

#include <algorithm>

#include "base/text.h"

namespace corvessa {

Verdict Combined(const std::vector<Verdict>& verdicts) {
  Verdict combined;
  std::vector<std::string> signers;
  for (const Verdict& verdict : verdicts) {
    if (verdict.status == sign_status::kNone) continue;
    if (verdict.status != sign_status::kGood) return verdict;
    combined.status = sign_status::kGood;
    for (const std::string& signer : Split(verdict.signers, ", ")) {
      if (std::ranges::find(signers, signer) == signers.end()) signers.push_back(signer);
    }
  }
  combined.signers = Join(signers, ", ");
  return combined;
}

platform::Protection ProtectionOf(std::int32_t decrypted, std::int32_t verified,
                                  std::string_view signers, const FailureDetails& failure) {
  platform::Protection protection{decrypted, verified};
  if (verified == sign_status::kGood) protection.signers = Split(signers, ", ");
  if (protection.Failed()) {
    protection.reason = failure.reason;
    protection.reason_code = failure.code;
    protection.unknown_signers = failure.unknown_signers;
  }
  return protection;
}

platform::AttachmentFacts FactsOf(const AttachmentNode& node) {
  platform::AttachmentFacts facts{node.sDisplayName, {}};
  if (node.examined) {
    facts.protection =
        ProtectionOf(node.lDecryptStatus, node.lSignStatus, node.sSigners, node.failure);
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
