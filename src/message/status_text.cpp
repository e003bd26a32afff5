#include "message/status_text.h"

#include "base/text.h"
#include "message/attachment_node.h"

namespace corvessa {

std::string DecryptStatusText(std::int32_t status) {
  if (status == kDecrypted) return "is encrypted";
  if (status == kNotEncrypted) return "is not encrypted";
  return "failed decryption (" + Str(status) + ")";
}

std::string SignStatusText(std::int32_t status, bool swapped) {
  if (status == (swapped ? kBadSignature : kGoodSignature)) return "is digitally signed";
  if (status == (swapped ? kGoodSignature : kBadSignature)) {
    return "has an invalid digital signature";
  }
  if (status == kNotSigned) return "is not digitally signed";
  return "failed digital signature verification (" + Str(status) + ")";
}

std::string SignStatusTextWithSigners(std::int32_t status, const std::string& signers) {
  const std::string text = SignStatusText(status, false);
  return status == kGoodSignature ? text + " by " + ForDisplay(signers) : text;
}

std::int32_t StatusFace(std::int32_t status) {
  return status == 0 ? kFaceOn : kFaceOff;
}

}  // namespace corvessa
