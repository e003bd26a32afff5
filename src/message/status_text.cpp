#include "message/status_text.h"

#include "base/text.h"
#include "message/attachment_node.h"

namespace corvessa {

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
