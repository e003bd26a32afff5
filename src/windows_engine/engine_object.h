#pragma once

#include "idl/engine.h"
#include "windows/com/object.h"
#include "windows_engine/engine_session.h"
#include "windows_engine/reserved_places.h"

namespace corvessa::windows {

/// The engine as a COM object of an apartment. What the operations answer, engine.idl says; every
/// result is set whatever happens.
class EngineObject final
    : public com::Object<EngineObject, ReservedPlaces, com::Dual<INimbraKeyUpkeep>,
                         com::Dual<INimbraMailReading>> {
 public:
  static constexpr auto kProgId = L"NimbraEncryptionEngine.Engine";

  explicit EngineObject(OpenEngine open, WorkLimit limit = {}) : session_(std::move(open), limit) {}

  HRESULT STDMETHODCALLTYPE SetOption(BSTR name, BSTR value) noexcept override;
  HRESULT STDMETHODCALLTYPE InitEngine(LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE QueryKeyPair(BSTR address, BSTR* text, LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE AuthenticateAccount(BSTR address, BSTR passphrase,
                                                LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE SignFile(BSTR path, BSTR* signature_path,
                                     LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE SignText(BSTR text, IDispatch* account, BSTR* signed_text,
                                     LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE EncryptText(IEngineStringVector* recipients, BSTR text, BSTR* armoured,
                                        LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE DecryptFileEx(BSTR path, IDispatch* account,
                                          LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE DecryptTextEx(BSTR armoured, IDispatch* account, BSTR* plain,
                                          LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE VerifyText(BSTR signed_text, IEngineStringVector** signers,
                                       IEngineStringVector** unknown_signers, BSTR* content,
                                       LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE VerifyFile(BSTR path, BSTR signature_path,
                                       IEngineStringVector** signers,
                                       IEngineStringVector** unknown_signers,
                                       LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE GetEngineLastError(BSTR* text) noexcept override;
  HRESULT STDMETHODCALLTYPE EncryptFileToFile(IEngineStringVector* recipients, BSTR path,
                                              BSTR* encrypted_path, LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE SetAnonymousMode(VARIANT_BOOL anonymous) noexcept override;
  HRESULT STDMETHODCALLTYPE GetAddressADKs(BSTR address, IEngineStringVector** addresses,
                                           LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE GetRecipientADKs(BSTR recipient, IEngineStringVector** addresses,
                                             LONG* status) noexcept override;

  HRESULT STDMETHODCALLTYPE GenerateKey(BSTR name, BSTR address, BSTR passphrase, BSTR* fingerprint,
                                        LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE ImportKeys(SAFEARRAY* keys, INimbraPassphraseSource* passphrases,
                                       IEngineStringVector** fingerprints,
                                       LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE ExportPublicKeys(BSTR who, BSTR* armoured,
                                             LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE ExportSecretKeys(BSTR who, BSTR* armoured,
                                             LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE ListKeys(IEngineStringVector** fingerprints,
                                     LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE DescribeKey(BSTR fingerprint, IEngineStringVector** user_ids,
                                        IEngineStringVector** addresses, BSTR* algorithm,
                                        double* created, double* expires, NimbraKeyFlags* flags,
                                        LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE PublishKeys(BSTR address, LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE RemoveKeys(BSTR who, LONG* status) noexcept override;

  HRESULT STDMETHODCALLTYPE SetDeclaredCharset(BSTR charset) noexcept override;
  HRESULT STDMETHODCALLTYPE SetMessagePassphrase(BSTR passphrase) noexcept override;
  HRESULT STDMETHODCALLTYPE OpenSignedText(BSTR armoured, BSTR* signed_text,
                                           LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE GetTrouble(BSTR* reason, IEngineStringVector** key_ids,
                                       BSTR* address) noexcept override;
  HRESULT STDMETHODCALLTYPE DecryptSignedFile(BSTR path, IDispatch* account,
                                              VARIANT_BOOL* is_signed,
                                              LONG* status) noexcept override;

 private:
  /// Runs a method that may let in other calls, one of which may release this object.
  template <typename Interface, typename Body>
  HRESULT Method(Body body) noexcept {
    const Microsoft::WRL::ComPtr<ISupportErrorInfo> self(this);
    return Bordered<Interface>(std::move(body));
  }
  template <typename Body>
  HRESULT EngineMethod(Body body) noexcept {
    return Method<INimbraEncryptionEngine>(std::move(body));
  }
  template <typename Body>
  HRESULT ReadingMethod(Body body) noexcept {
    return Method<INimbraMailReading>(std::move(body));
  }
  template <typename Body>
  HRESULT UpkeepMethod(Body body) noexcept {
    return Method<INimbraKeyUpkeep>(std::move(body));
  }

  EngineSession session_;
};

}  // namespace corvessa::windows
