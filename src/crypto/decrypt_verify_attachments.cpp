#include <cstdint>
#include <string>
#include <utility>

#include "base/debug_info.h"
#include "base/guard.h"
#include "base/paths.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "crypto/engine_answers.h"
#include "crypto/operation_progress.h"
#include "crypto/stored_files.h"
#include "crypto/temp_files.h"
#include "platform/files.h"
#include "platform/host.h"

namespace corvessa {
namespace {

/// The file is unchanged, so that it is the original itself.
void DropCopy(AttachmentNode& node) {
  if (node.original_filename == node.sFilename) return;
  DeleteOrQueue(node.original_filename);
  node.original_filename = node.sFilename;
}

/// Sets a copy of the stored file aside, because the engine decrypts a file where it stands.
void SetAsideBeforeDecrypting(AttachmentNode& node) {
  platform::Files& files = platform::Host().files;
  const std::string folder = node.sDir + std::string(kOriginalsFolder);
  if (!files.FolderExists(folder)) files.CreateFolder(folder);
  // Known to the node before it is there, so that it is deleted with the node in any case.
  node.original_filename = folder + "\\" + std::string(FileNameOf(node.sFilename));
  const Error error = Attempt([&] { files.Copy(node.sFilename, node.original_filename); });
  if (error.number == 0) return;
  DropCopy(node);
  throw Error(error);
}

std::string OutcomeText(platform::EngineStatus status, const std::string& signers,
                        bool has_unknown_signers) {
  if (status == platform::engine_status::kGoodSignature) {
    return "Verified signatures by: " + signers;
  }
  if (status == platform::engine_status::kBadSignature) return "Failed signatures by: " + signers;
  if (has_unknown_signers) return "Signatures by unknown signers were found";
  return "An error occurred while verifying: " + std::string(EngineErrorText(status));
}

}  // namespace

platform::EngineStatus CryptoOperations::DecryptAttachment(AttachmentNode& node) {
  // After a call that threw, the state of the file is unknown, so the copy stays.
  return Guarded("CryptoOperations:DecryptAllAttachments - ", platform::engine_status::kUnexpected,
                 [&] {
                   SetAsideBeforeDecrypting(node);
                   bool is_signed = false;
                   const platform::EngineStatus status =
                       Engine()->DecryptSignedFile(node.sFilename, nullptr, is_signed);
                   if (status != platform::engine_status::kDone) DropCopy(node);
                   if (is_signed) ReadInnerSignature(node);
                   return status;
                 });
}

bool CryptoOperations::NeedsOtherUnlocking(platform::EngineStatus status) {
  if (status != platform::engine_status::kNoKey &&
      status != platform::engine_status::kWrongPassphrase) {
    return false;
  }
  const std::string reason = Engine()->GetTrouble().reason;
  return reason == platform::engine_trouble::kPassphraseNeeded ||
         (has_message_passphrase_ && reason == platform::engine_trouble::kKeyLocked);
}

void CryptoOperations::ReadInnerSignature(AttachmentNode& node) {
  Verdict verdict{kLocalFailure};
  Guarded("CryptoOperations:ReadInnerSignature - ", [&] { verdict = Verify(node.sFilename, ""); });
  node.lSignStatus = verdict.status;
  node.sSigners = std::move(verdict.signers);
  node.failure = std::move(verdict.failure);
}

std::int32_t CryptoOperations::DecryptAllAttachments(AttachmentNodes& attachments) {
  std::int32_t result = decrypt_status::kDone;
  bool given_up = false;
  Guarded("CryptoOperations:DecryptAllAttachments - ", [&] {
    ForEachAttachment(attachments, "Decrypting attachments", [&](const AttachmentNodePtr& node) {
      node->examined = true;
      if (node->bDetachedSig) return;
      platform::EngineStatus status = DecryptAttachment(*node);
      // An error here must not make it pass for one that is not encrypted.
      Guarded("CryptoOperations:DecryptAllAttachments - ", [&] {
        if (given_up || !NeedsOtherUnlocking(status)) return;
        given_up = !DecryptWithLogin([&] { return status = DecryptAttachment(*node); });
      });
      node->lDecryptStatus = DecryptStatusOf(status);
      if (status != platform::engine_status::kDone &&
          status != platform::engine_status::kBadFormat) {
        result = status;
        node->failure = FailureOf();
      }
    });
    Debug_Info::TraceLog("DecryptAllAttachments returned " + Decimal(result));
  });
  return result;
}

std::int32_t CryptoOperations::VerifyAllAttachments(AttachmentNodes& attachments) {
  constexpr std::string_view kStep = "Verifying attachment digital signatures";
  std::int32_t result = sign_status::kGood;
  Guarded("CryptoOperations::VerifyAllAttachments - ", [&] {
    const NodesByPath files(attachments);
    ForEachAttachment(attachments, kStep, [&](const AttachmentNodePtr& signature) {
      signature->examined = true;
      if (!HasSignatureName(FileNameOf(signature->sFilename))) return;
      const AttachmentNodePtr data = files.Find(SignedName(signature->sFilename));
      if (!data) return;
      const bool is_signature = HoldsReadableSignature(signature->sFilename);
      // What was encrypted may be a document with a signature's name.
      if (signature->lDecryptStatus == decrypt_status::kDone && !is_signature) return;
      data->lSignStatus = signature->lSignStatus = platform::engine_status::kUnexpected;
      Guarded("CryptoOperations::VerifyAllAttachments - ",
              [&] { VerifyAttachment(*data, *signature); });
      // A document that merely contains a signature is not signed itself.
      if (!is_signature) {
        signature->lSignStatus = sign_status::kNone;
        signature->sSigners.clear();
      }
      if (data->lSignStatus != sign_status::kGood) result = data->lSignStatus;
    });
  });
  return result;
}

bool CryptoOperations::HoldsSignature(std::string_view path) {
  const auto known = platform::Host().engine.CreateStringVector();
  const auto unknown = platform::Host().engine.CreateStringVector();
  return ProvesSignature(Engine()->VerifyFile("", path, *known, *unknown));
}

bool CryptoOperations::HoldsReadableSignature(std::string_view path) {
  return Guarded("CryptoOperations::HoldsReadableSignature - ", false,
                 [&] { return HoldsSignature(path); });
}

std::string CryptoOperations::VerifyAttachment(AttachmentNode& data, AttachmentNode& signature) {
  signature.bDetachedSig = true;
  const auto known = platform::Host().engine.CreateStringVector();
  const auto unknown = platform::Host().engine.CreateStringVector();
  // A file that could not be decrypted cannot be verified and must not pass as forged.
  const platform::EngineStatus status =
      IsReadable(data.lDecryptStatus)
          ? Engine()->VerifyFile(data.sFilename, signature.sFilename, *known, *unknown)
          : data.lDecryptStatus;
  data.lSignStatus = signature.lSignStatus = SignStatusOf(status);
  data.sSigners = signature.sSigners = VectorToString(*known);
  if (status != platform::engine_status::kGoodSignature && IsReadable(data.lDecryptStatus)) {
    data.failure = signature.failure = FailureOf(unknown.get());
  }
  return "Attachment: " + ForDisplay(data.sDisplayName) + "\r\n" +
         OutcomeText(status, ForDisplay(data.sSigners), unknown->Size() > 0);
}

}  // namespace corvessa
