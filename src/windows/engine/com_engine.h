#pragma once

#include <memory>
#include <wrl/client.h>

#include "idl/engine.h"
#include "platform/engine.h"

namespace corvessa::windows {

/// The engine component behind the interface of the logic. The component is bound to by position,
/// so any that keeps the places of engine.idl will do. A call that fails throws Error.
class ComEngine final : public platform::IEngine {
 public:
  using EngineStatus = platform::EngineStatus;

  explicit ComEngine(Microsoft::WRL::ComPtr<INimbraEncryptionEngine> component)
      : component_(std::move(component)) {
    component_.As(&reading_);
  }

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
  std::string GetEngineLastError() override;
  EngineStatus EncryptFileToFile(const platform::IEngineStringVector& recipients,
                                 std::string_view path, std::string_view encrypted_path) override;
  void SetAnonymousMode(bool anonymous) override;
  EngineStatus GetAddressADKs(std::string_view address,
                              platform::IEngineStringVector& addresses) override;
  EngineStatus GetRecipientADKs(std::string_view recipient,
                                platform::IEngineStringVector& addresses) override;
  void SetDeclaredCharset(std::string_view charset) override;
  void SetMessagePassphrase(std::string_view passphrase) override;
  EngineStatus OpenSignedText(std::string_view armoured, std::string& signed_text) override;
  EngineStatus DecryptSignedFile(std::string_view path, const platform::EngineAccount* account,
                                 bool& is_signed) override;
  platform::EngineTrouble GetTrouble() override;

 private:
  void Check(HRESULT result) const;
  void CheckReading(HRESULT result) const;

  Microsoft::WRL::ComPtr<INimbraEncryptionEngine> component_;
  Microsoft::WRL::ComPtr<INimbraMailReading> reading_;  ///< null when the component has none
};

/// Makes the component's objects by their registered names.
std::unique_ptr<platform::EngineFactory> CreateComEngineFactory();

}  // namespace corvessa::windows
