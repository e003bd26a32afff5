#include "message/save_attachments.h"

#include <cstdint>

#include "accounts/frm_login.h"
#include "base/guard.h"
#include "base/paths.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "crypto/engine_answers.h"
#include "crypto/frm_timer.h"
#include "crypto/stored_files.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/observer.h"

namespace corvessa {
namespace {

class Saver {
 public:
  Saver(platform::MailItemPtr item, std::string folder, const SavingCaller& caller)
      : item_(std::move(item)), folder_(std::move(folder)), caller_(caller) {}
  /// After an error too: neither decrypted files nor passphrases stay behind because of one.
  ~Saver() {
    DeleteStoredFiles(nodes_);
    Guarded(":SaveAttachments - ", [] { ForgetAfterUse(); });
  }
  Saver(const Saver&) = delete;
  Saver& operator=(const Saver&) = delete;

  void Run(const std::vector<bool>& chosen) {
    if (!Crypto()->StoreAllAttachments(item_, nodes_, false)) return;
    if (nodes_.size() != chosen.size()) {
      Raise(kInvalidArgument, "The attachments of this message have changed.");
    }
    for (std::size_t i = 0; i < nodes_.size() && caller_.is_waiting(); ++i) {
      if (chosen[i]) Save(i);
    }
  }

 private:
  void Save(std::size_t i) {
    AttachmentNode& node = *nodes_[i];
    AttachmentResult result{node, "Attachment: " + ForDisplay(node.sDisplayName)};
    const Error error = Attempt([&] { Save(node, result); });
    if (error.number != 0) result.failure = error.description;
    if (!caller_.is_waiting()) return;
    platform::HostObserver().AttachmentSaved(
        item_, {static_cast<std::int32_t>(i + 1), FactsOf(node), result.path, result.failure});
    caller_.report(result);
  }

  void Save(AttachmentNode& node, AttachmentResult& result) {
    if (!node.bDetachedSig) {
      node.lDecryptStatus = Decrypt(node);
      node.examined = true;
      if (!caller_.is_waiting()) return;
      if (!IsReadable(node.lDecryptStatus)) {
        result.failure = EngineErrorText(node.lDecryptStatus);
        return;
      }
      const auto signature = FindByPath(nodes_, node.sFilename + ".sig");
      if (signature && signature->bDetachedSig) {
        result.verdict = Crypto()->VerifyAttachment(node, *signature);
        signature->examined = true;
      }
    }
    const std::string path = folder_ + std::string(FileNameOf(node.sFilename));
    if (CopyTo(path, node)) result.path = path;
  }

  /// Asks for passphrases when needed.
  std::int32_t Decrypt(const AttachmentNode& node) {
    const auto crypto = Crypto();
    platform::EngineStatus status = crypto->DecryptFileEx(node.sFilename);
    std::int16_t attempts = 0;
    std::int16_t wrong_account = 0;
    while (caller_.is_waiting() && !login_cancelled_ && attempts < kPassphraseAttempts &&
           (status == platform::engine_status::kWrongPassphrase ||
            status == platform::engine_status::kNoKey)) {
      const std::int16_t answer = crypto->Authenticate(attempts, wrong_account);
      login_cancelled_ = answer == kLoginCancelled;
      if (answer != kUnlocked) continue;
      status = crypto->DecryptFileEx(node.sFilename);
      wrong_account = 1;
    }
    return DecryptStatusOf(status);
  }

  bool CopyTo(const std::string& path, const AttachmentNode& node) {
    platform::Files& files = platform::Host().files;
    if (!files.FileExists(path)) {
      files.Copy(node.sFilename, path);
      return true;
    }
    if (!caller_.may_replace(path)) return false;
    files.Write(path, files.Read(node.sFilename));
    return true;
  }

  platform::MailItemPtr item_;
  std::string folder_;
  const SavingCaller& caller_;
  AttachmentNodes nodes_;
  bool login_cancelled_ = false;
};

}  // namespace

void SaveAttachments(const platform::MailItemPtr& item, const std::vector<bool>& chosen,
                     const std::string& folder, const SavingCaller& caller) {
  Saver(item, folder, caller).Run(chosen);
}

}  // namespace corvessa
