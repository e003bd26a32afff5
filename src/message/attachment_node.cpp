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

}  // namespace corvessa
