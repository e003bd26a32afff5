#include <cstdint>
#include <string>
#include <utility>

#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "base/checked.h"
#include "base/debug_info.h"
#include "base/guard.h"
#include "branding/message_box.h"
#include "crypto/crypto_operations.h"
#include "crypto/engine_answers.h"
#include "forms/frm_progress.h"
#include "message/message_operations.h"
#include "platform/host.h"
#include "settings/settings.h"

namespace corvessa {

std::int32_t CryptoOperations::DecryptMailItem(const platform::MailItemPtr& /*item*/,
                                               std::string& body, AttachmentNodes& attachments) {
  return Guarded("CryptoOperations::DecryptMailItem - ", kGivenUp, [&] {
    ProgressWindow()->SetCaption("Decrypting email");
    failure_ = {};
    if (!IsPGPMessage(body)) {
      Debug_Info::TraceLog("EXIT Not encrypted");
      return decrypt_status::kNotEncrypted;
    }
    const std::string_view armoured = StripLeadingBlankLines(body);
    std::string plain;
    const auto decrypt = [&] { return Engine()->DecryptTextEx(armoured, nullptr, plain); };
    if (decrypt() == platform::engine_status::kDone) {
      Debug_Info::TraceLog("DecryptTextEx successful");
    } else if (!DecryptWithLogin(decrypt)) {
      return kGivenUp;
    }
    body = std::move(plain);
    const std::int32_t status = g_bDisableAutoDecryptAttachments
                                    ? decrypt_status::kDone
                                    : DecryptAllAttachments(attachments);
    if (status != decrypt_status::kDone) {
      for (const AttachmentNodePtr& node : attachments) {
        if (node->lDecryptStatus == status) failure_ = node->failure;
      }
      Tell("Failed to decrypt message:\r\n\r\n" + std::string(EngineErrorText(status)));
    }
    return status;
  });
}

void CryptoOperations::DeclareCharset(const platform::MailItemPtr& item) {
  Guarded("CryptoOperations::DeclareCharset - ",
          [&] { Engine()->SetDeclaredCharset(item->BodyCharset()); });
}

void CryptoOperations::OpenSignedText(std::string& body) {
  Guarded("CryptoOperations::OpenSignedText - ", [&] {
    if (!IsPGPMessage(body)) return;
    std::string opened;
    if (Engine()->OpenSignedText(StripLeadingBlankLines(body), opened) == 0) {
      body = std::move(opened);
    }
  });
}

std::optional<bool> CryptoOperations::DecryptWithPassphrase(const Decryption& decrypt) {
  for (int attempts = 0; attempts < kPassphraseAttempts; ++attempts) {
    if (Engine()->GetTrouble().reason != platform::engine_trouble::kPassphraseNeeded) {
      return attempts == 0 ? std::nullopt : std::optional(false);
    }
    const auto passphrase = std::make_shared<frmPassphrase>()->Ask(attempts > 0);
    if (!passphrase) return false;
    Engine()->SetMessagePassphrase(passphrase->View());
    has_message_passphrase_ = true;
    if (decrypt() == 0) return true;
    Debug_Info::TraceLog(Engine()->GetEngineLastError());
  }
  return false;
}

FailureDetails CryptoOperations::FailureOf(const platform::IEngineStringVector* unknown_signers) {
  platform::EngineTrouble trouble = Engine()->GetTrouble();
  FailureDetails failure{
      Engine()->GetEngineLastError(), {}, std::move(trouble.reason), std::move(trouble.address)};
  if (unknown_signers) failure.unknown_signers = TextsOf(*unknown_signers);
  return failure;
}

bool CryptoOperations::DecryptWithLogin(const Decryption& decrypt) {
  failure_ = FailureOf();
  if (const auto decrypted = DecryptWithPassphrase(decrypt)) {
    if (*decrypted) failure_ = {};
    return *decrypted;
  }
  const auto account = LoginAndDecrypt(decrypt);
  if (!account) return false;
  Debug_Info::TraceLog("V2 Decrypt success");
  account->SetAuthenticated(true);
  failure_ = {};
  return true;
}

NimbraAccountPtr CryptoOperations::LoginAndDecrypt(const Decryption& decrypt) {
  Debug_Info::TraceLog("No luck with cached keys - will let user choose login");
  LoginReason reason = LoginReason::kFirstRequest;
  platform::EngineStatus status = 1;
  const bool is_locked = failure_.code == platform::engine_trouble::kKeyLocked;
  const std::string encrypted_to = is_locked ? failure_.address : std::string();
  for (int attempts = 0;; ++attempts) {
    Debug_Info::TraceLog("Loop once trying to authenticate");
    if (attempts >= kPassphraseAttempts) {
      Debug_Info::TraceLog("DecryptMailItem - wrong passphrase or account 3 times");
      return nullptr;
    }
    if (status != 1 && status != platform::engine_status::kWrongPassphrase) {
      reason = LoginReason::kCannotDecrypt;
    }
    auto account = UserManagement::GetLoginAccount(reason, "", true, encrypted_to);
    if (!account) return nullptr;
    PassphraseTrial trial(account);
    status = Engine()->AuthenticateAccount(account->m_sAlias, account->m_sPassword.View());
    if (status == 0) {
      Debug_Info::TraceLog("V2 Auth success");
      status = decrypt();
      if (status == 0) {
        trial.Accept();
        return account;
      }
      Debug_Info::TraceLog("V2 Decrypt fail");
      failure_ = FailureOf();
      Debug_Info::TraceLog(failure_.reason);
      reason = LoginReason::kCannotDecrypt;
    } else {
      Debug_Info::TraceLog("V2 Auth fail");
      reason = LoginReason::kWrongPassphrase;
    }
  }
}

std::int32_t CryptoOperations::VerifyMailItem(const platform::MailItemPtr& /*item*/,
                                              std::string& body, AttachmentNodes& attachments,
                                              std::string& signers) {
  std::int32_t result = kLocalFailure;
  Guarded("CryptoOperations::VerifyMailItem - ", [&] {
    ProgressWindow()->SetCaption("Verifying email");
    failure_ = {};
    if (!IsPGPSignedMessage(body)) {
      result = sign_status::kNone;
      return;
    }
    const auto known = platform::Host().engine.CreateStringVector();
    const auto unknown = platform::Host().engine.CreateStringVector();
    std::string content;
    const auto status = CheckedNarrow<std::int16_t>(
        Engine()->VerifyText(StripLeadingBlankLines(body), *known, *unknown, content));
    // First: text whose signers cannot be read must not pass as signed.
    signers = VectorToString(*known);
    if (status == platform::engine_status::kGoodSignature) {
      body = std::move(content);
    } else {
      failure_ = FailureOf(unknown.get());
    }
    result = SignStatusOf(status);
    if (!g_bDisableAutoDecryptAttachments) VerifyAllAttachments(attachments);
  });
  return result;
}

}  // namespace corvessa
