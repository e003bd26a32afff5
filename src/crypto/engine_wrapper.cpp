#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "base/checked.h"
#include "base/guard.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "crypto/engine_answers.h"
#include "crypto/frm_timer.h"
#include "platform/host.h"
#include "settings/edition.h"
#include "settings/settings.h"

namespace corvessa {

std::shared_ptr<CryptoOperations> g_oCrypto;

std::shared_ptr<CryptoOperations> CreateCrypto() {
  auto crypto = std::make_shared<CryptoOperations>();
  crypto->SetPGPMessageHeader(Customization::EnginePGPMessageHeader());
  crypto->SetPGPSignatureHeader(Customization::EnginePGPSignatureHeader());
  crypto->SetCustomerID(Customization::EngineCustomerID());
  crypto->SetLookupKeyServers(Customization::EngineLookupServer());
  crypto->SetUpdateKeyServers(Customization::EngineUpdateServer());
  crypto->Init();
  g_oCrypto = crypto;
  return crypto;
}

std::shared_ptr<CryptoOperations> Crypto() {
  if (g_oCrypto) return g_oCrypto;
  // The add-in was closed down while a dialog was open: settings and accounts are gone, and nothing
  // would release a new engine.
  if (!g_bSettingsLoaded) Raise(kObjectNotSet);
  StartHousekeeping();
  return CreateCrypto();
}

CryptoOperations::CryptoOperations() {
  Guarded("CryptoOperations::Class_Initialize: ", [&] {
    m_oNimbraCrypto = platform::Host().engine.CreateEngine();
    Engine()->InitEngine();
  });
}

CryptoOperations::~CryptoOperations() = default;

platform::EnginePtr CryptoOperations::Engine() const {
  if (!m_oNimbraCrypto) Raise(kObjectNotSet);
  return m_oNimbraCrypto;
}

void CryptoOperations::ReleaseEngine() {
  m_oNimbraCrypto.reset();
}

void CryptoOperations::SetLookupKeyServers(std::string_view servers) {
  Engine()->SetOption("lookupKeyservers", servers);
}

void CryptoOperations::SetUpdateKeyServers(std::string_view servers) {
  Engine()->SetOption("updateKeyservers", servers);
}

void CryptoOperations::SetCustomerID(std::string_view id) {
  Engine()->SetOption("customerID", id);
}

void CryptoOperations::SetPGPMessageHeader(std::string_view header) {
  Engine()->SetOption("pgpMessageHeader", header);
}

void CryptoOperations::SetPGPSignatureHeader(std::string_view header) {
  Engine()->SetOption("pgpSignatureHeader", header);
}

void CryptoOperations::SetAnonymous(bool anonymous) {
  Engine()->SetAnonymousMode(anonymous);
  anonymous_ = anonymous;
}

void CryptoOperations::Init() {
  Engine()->InitEngine();
  has_message_passphrase_ = false;
}

std::string CryptoOperations::GetLastError() {
  return Engine()->GetEngineLastError();
}

platform::EngineStatus CryptoOperations::DecryptFileEx(std::string_view path) {
  return Engine()->DecryptFileEx(path, nullptr);
}

std::int32_t CryptoOperations::HasKeypair(std::string_view address) {
  return Guarded("haskeypair: ", kKeyPairUnknown, [&] {
    std::string discarded;
    switch (Engine()->QueryKeyPair(address, discarded)) {
      case platform::engine_status::kDone:
        return kHasKeyPair;
      case platform::engine_status::kCannotTell:
        return kKeyPairUnknown;
      default:
        return kNoKeyPair;
    }
  });
}

std::int16_t CryptoOperations::Authenticate(std::int16_t& attempts, std::int16_t& wrong_account) {
  return Guarded("CryptoOperations::Authenticate - ", kRefused, [&] {
    LoginReason reason = attempts == 0 ? LoginReason::kFirstRequest : LoginReason::kWrongPassphrase;
    if (wrong_account != 0) reason = LoginReason::kCannotDecrypt;
    const NimbraAccountPtr account = UserManagement::GetLoginAccount(reason, "", true);
    if (!account) return kLoginCancelled;
    PassphraseTrial trial(account);
    const platform::EngineStatus status =
        Engine()->AuthenticateAccount(account->m_sAlias, account->m_sPassword.View());
    attempts = CheckedAdd<std::int16_t>(attempts, 1);
    if (status != 0) return kRefused;
    trial.Accept();
    account->SetAuthenticated(true);
    return kUnlocked;
  });
}

void CryptoOperations::AddToVector(platform::IEngineStringVector& addresses,
                                   std::string_view text) {
  if (Trim(text).empty()) return;
  for (std::int32_t i = 0; i < addresses.Size(); ++i) {
    if (TextAt(addresses, i) == text) return;
  }
  addresses.Add(text);
}

std::string CryptoOperations::VectorToString(const platform::IEngineStringVector& texts) {
  return Join(TextsOf(texts), ", ");
}

}  // namespace corvessa
