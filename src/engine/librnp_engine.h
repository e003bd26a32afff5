#pragma once

#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "engine/armour.h"
#include "engine/engine.h"
#include "engine/key_servers.h"
#include "engine/key_store.h"
#include "engine/operations.h"
#include "engine/status.h"
#include "engine/verified_contents.h"

namespace corvessa::engine {

/// The engine over librnp. Every operation runs inside Attempt, the one place where an
/// EngineFailure, or anything else that is thrown, becomes a status and the last error.
class LibrnpEngine final : public OpenPgpEngine {
 public:
  explicit LibrnpEngine(EngineConfig config);

  void SetOption(std::string_view name, std::string_view value) override;
  void InitEngine() override;
  EngineStatus QueryKeyPair(std::string_view address, std::string& text) override;
  EngineStatus AuthenticateAccount(std::string_view address, std::string_view passphrase) override;
  EngineStatus SignFile(std::string_view path, std::string& signature_path) override;
  EngineStatus SignText(std::string_view text, const platform::EngineAccount* account,
                        std::string& signed_text) override;
  EngineStatus EncryptText(const platform::IEngineStringVector& recipients, std::string_view text,
                           std::string& armoured) override;
  EngineStatus DecryptFileEx(std::string_view path,
                             const platform::EngineAccount* account) override;
  EngineStatus DecryptTextEx(std::string_view armoured, const platform::EngineAccount* account,
                             std::string& plain) override;
  EngineStatus VerifyText(std::string_view signed_text, platform::IEngineStringVector& signers,
                          platform::IEngineStringVector& unknown_signers,
                          std::string& content) override;
  EngineStatus VerifyFile(std::string_view path, std::string_view signature_path,
                          platform::IEngineStringVector& signers,
                          platform::IEngineStringVector& unknown_signers) override;
  std::string GetEngineLastError() override { return last_error_; }
  EngineStatus EncryptFileToFile(const platform::IEngineStringVector& recipients,
                                 std::string_view path, std::string_view encrypted_path) override;
  void SetAnonymousMode(bool anonymous) override { anonymous_ = anonymous; }
  EngineStatus GetAddressADKs(std::string_view address,
                              platform::IEngineStringVector& addresses) override;
  EngineStatus GetRecipientADKs(std::string_view recipient,
                                platform::IEngineStringVector& addresses) override;
  void SetDeclaredCharset(std::string_view charset) override { declared_charset_ = charset; }
  void SetMessagePassphrase(std::string_view passphrase) override;
  EngineStatus OpenSignedText(std::string_view armoured, std::string& signed_text) override;
  EngineStatus DecryptSignedFile(std::string_view path, const platform::EngineAccount* account,
                                 bool& is_signed) override;
  platform::EngineTrouble GetTrouble() override { return trouble_; }

  EngineStatus GenerateKey(std::string_view name, std::string_view address,
                           std::string_view passphrase, KeyInfo& made) override;
  EngineStatus ImportKeys(std::string_view data, const AskPassphrase& ask,
                          std::vector<KeyInfo>& imported) override;
  EngineStatus ExportPublicKeys(std::string_view who, std::string& armoured) override;
  EngineStatus ExportSecretKeys(std::string_view who, std::string& armoured) override;
  EngineStatus RemoveKeys(std::string_view who) override;
  EngineStatus ListKeys(std::vector<KeyInfo>& keys) override;
  EngineStatus FindKeys(std::string_view who, std::vector<KeyInfo>& keys) override;
  EngineStatus PublishKeys(std::string_view address) override;

 private:
  template <typename Operation>
  EngineStatus Attempt(Operation operation);
  /// A usable encryption key for each address, asked of the key servers where the rings have none.
  std::vector<Key> UsableKeys(const std::vector<std::string>& addresses);
  std::vector<Key> RecipientKeys(const platform::IEngineStringVector& recipients);
  /// Gets the addresses' keys from the key servers into the session, as far as they have any. The
  /// answers are in the addresses' order: could it be told?
  std::vector<bool> LookUpAddresses(const std::vector<std::string>& addresses);
  FindSigner SignerFinder();
  /// The text for the add-in: in clear-signed armour when it was signed, which is remembered.
  std::string Presented(std::string bytes, std::string_view armour,
                        std::optional<InnerSignatures> signatures);
  CharsetNames CharsetsOf(std::string_view armour) const;
  std::shared_ptr<void> WatchDecryption(std::uint64_t size) const;
  /// Fails when nothing may change any more, see EngineConfig::may_commit.
  void RequireCaller() const;
  [[noreturn]] static void FailToHide();
  /// "" for none.
  static std::string AccountAddress(const platform::EngineAccount* account);
  EngineStatus Report(const Verdict& verdict, platform::IEngineStringVector& signers,
                      platform::IEngineStringVector& unknown_signers);

  EngineConfig config_;
  KeyStore keys_;
  KeyServers servers_;
  std::string message_version_;
  std::string signature_version_;
  bool anonymous_ = false;
  std::string declared_charset_;
  std::vector<SecretString> message_passphrases_;  ///< the newest first
  VerifiedContents texts_;
  VerifiedContents files_;
  std::string last_error_;
  platform::EngineTrouble trouble_;
};

template <typename Operation>
EngineStatus LibrnpEngine::Attempt(Operation operation) {
  const QuietLibrary quiet;
  try {
    keys_.Refresh();
    return operation();
  } catch (const EngineFailure& failure) {
    last_error_ = failure.message;
    trouble_ = failure.trouble;
    return failure.status;
  } catch (const Error& error) {  // of the host's, for a path that it does not know
    last_error_ = error.description;
    trouble_ = {};
    return kIoTrouble;
  } catch (const std::exception& error) {
    last_error_ = std::string("Unexpected error: ") + error.what();
    trouble_ = {};
    return kUnexpected;
  }
}

}  // namespace corvessa::engine
