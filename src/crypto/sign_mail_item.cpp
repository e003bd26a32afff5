#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "base/debug_info.h"
#include "base/guard.h"
#include "base/text.h"
#include "branding/message_box.h"
#include "crypto/crypto_operations.h"
#include "crypto/engine_answers.h"
#include "message/message_operations.h"
#include "platform/host.h"
#include "platform/observer.h"

namespace corvessa {
namespace {

/// The engine's other way to say that a passphrase is wrong, and where the loop begins.
constexpr platform::EngineStatus kNotAuthenticated = 1;

/// The plain body. Signed mail that is not encrypted is read as it travels, so its lines are made
/// short enough that nothing on the way breaks them, which would break the signature.
platform::SharedText TextToSign(const SafeItem& item, bool sign_only) {
  platform::SharedText text = item->Body();
  Debug_Info::TraceLog("About to wrap text");
  if (!sign_only) return text;
  Debug_Info::TraceLog("Wrapping text");
  return std::make_shared<const std::string>(WrapText(*text));
}

}  // namespace

std::optional<platform::EngineStatus> CryptoOperations::UnlockSigner(
    const NimbraAccountPtr& signer) {
  platform::EngineStatus status = kNotAuthenticated;
  for (int attempts = 0;
       status == kNotAuthenticated || status == platform::engine_status::kWrongPassphrase;
       ++attempts) {
    if (attempts >= kPassphraseAttempts) return std::nullopt;
    const LoginReason reason = status == platform::engine_status::kWrongPassphrase
                                   ? LoginReason::kWrongPassphrase
                                   : LoginReason::kFirstRequest;
    const NimbraAccountPtr account =
        UserManagement::GetLoginAccount(reason, signer->m_sAlias, false);
    if (!account) return std::nullopt;
    PassphraseTrial trial(account);
    status = Engine()->AuthenticateAccount(account->m_sAlias, account->m_sPassword.View());
    if (status == 0) trial.Accept();
    account->SetAuthenticated(status == 0);
  }
  return status;
}

std::int32_t CryptoOperations::SignMailItem(const SafeItem& item, AttachmentNodes& attachments,
                                            bool sign_only) {
  return Guarded(":SignMailItem - ", kGivenUp, [&]() -> std::int32_t {
    const NimbraAccountPtr signer = UserManagement::GetSigningAccount();
    if (ReadHeaderFlag(item, kNoSign)) {
      platform::HostObserver().ConsentAsked(item.Item(), {platform::Consent::kLeaveUnsigned, true});
      return 0;
    }
    if (!signer) return 0;
    const platform::SharedText text = TextToSign(item, sign_only);

    const std::optional<platform::EngineStatus> unlocked = UnlockSigner(signer);
    if (!unlocked) return kGivenUp;
    std::int32_t status = *unlocked;
    if (status == 0) {
      std::string signed_text;
      status = Engine()->SignText(*text, nullptr, signed_text);
      if (status == 0) item->SetBody(signed_text);
    }
    if (status == 0) status = SignAllAttachments(item.Item(), attachments);
    if (status == 0) {
      platform::HostObserver().Signed(item.Item(), signer->m_sAlias);
    } else {
      Tell("Failed to sign message:\r\n\r\n" + std::string(EngineErrorText(status)));
    }
    return status;
  });
}

}  // namespace corvessa
