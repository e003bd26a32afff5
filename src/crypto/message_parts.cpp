#include <string>

#include "base/guard.h"
#include "crypto/crypto_operations.h"
#include "crypto/engine_answers.h"
#include "crypto/stored_files.h"
#include "crypto/temp_files.h"
#include "forms/frm_progress.h"
#include "platform/files.h"
#include "platform/host.h"

namespace corvessa {
namespace {

/// A file in a private folder, deleted with this object.
class PrivateFile {
 public:
  PrivateFile(const std::string& folder, std::string_view name, std::string_view content)
      : path_(folder + std::string(name)) {
    platform::Host().files.Write(path_, content);
  }
  ~PrivateFile() { DeleteOrQueue(path_); }
  PrivateFile(const PrivateFile&) = delete;
  PrivateFile& operator=(const PrivateFile&) = delete;

  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace

std::int32_t CryptoOperations::DecryptMessageFile(AttachmentNode& node) {
  return Guarded("CryptoOperations::DecryptMessageFile - ", kGivenUp, [&] {
    ProgressWindow()->SetCaption("Decrypting email");
    failure_ = {};
    const auto decrypt = [&] { return DecryptAttachment(node); };
    const platform::EngineStatus status = decrypt();
    if (status == platform::engine_status::kBadFormat) {
      failure_ = FailureOf();
      return decrypt_status::kNotEncrypted;
    }
    const bool decrypted = status == platform::engine_status::kDone || DecryptWithLogin(decrypt);
    return decrypted ? decrypt_status::kDone : kGivenUp;
  });
}

Verdict CryptoOperations::VerifyPart(std::string_view content, std::string_view signature) {
  Verdict verdict{kLocalFailure};
  Guarded("CryptoOperations::VerifyPart - ", [&] {
    ProgressWindow()->SetCaption("Verifying email");
    const std::string folder = CreatePrivateFolder();
    const PrivateFile signed_file(folder, "part", content);
    const PrivateFile signature_file(folder, "part.sig", signature);
    verdict = Verify(signed_file.Path(), signature_file.Path());
  });
  return verdict;
}

Verdict CryptoOperations::Verify(std::string_view path, std::string_view signature_path) {
  const auto known = platform::Host().engine.CreateStringVector();
  const auto unknown = platform::Host().engine.CreateStringVector();
  const platform::EngineStatus status =
      Engine()->VerifyFile(path, signature_path, *known, *unknown);
  Verdict verdict{SignStatusOf(status)};
  if (verdict.status == sign_status::kGood) {
    verdict.signers = VectorToString(*known);
  } else {
    verdict.failure = FailureOf(unknown.get());
  }
  return verdict;
}

}  // namespace corvessa
