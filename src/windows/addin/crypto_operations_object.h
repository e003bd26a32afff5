#pragma once

#include <memory>

#include "crypto/crypto_operations.h"
#include "idl/corvessa_pro_ol.h"
#include "windows/com/object.h"

namespace corvessa::windows {

class AddInHost;

/// "CorvessaPro_OL.CryptoOperations": the cryptographic operations for other programs, in a process
/// with or without the connected add-in. Each object has an engine of its own.
class CryptoOperationsObject final
    : public com::Object<CryptoOperationsObject, com::Dual<ICryptoOperations>> {
 public:
  static constexpr auto kProgId = L"CorvessaPro_OL.CryptoOperations";

  /// Throws Error when the system lacks something. An engine that cannot be created fails each
  /// call.
  CryptoOperationsObject();

  HRESULT STDMETHODCALLTYPE SetLookupKeyServers(BSTR servers) noexcept override;
  HRESULT STDMETHODCALLTYPE SetUpdateKeyServers(BSTR servers) noexcept override;
  HRESULT STDMETHODCALLTYPE SetCustomerID(BSTR customer) noexcept override;
  HRESULT STDMETHODCALLTYPE SetPGPMessageHeader(BSTR header) noexcept override;
  HRESULT STDMETHODCALLTYPE SetPGPSignatureHeader(BSTR header) noexcept override;
  HRESULT STDMETHODCALLTYPE SetAnonymous(VARIANT_BOOL anonymous) noexcept override;
  HRESULT STDMETHODCALLTYPE Init() noexcept override;
  HRESULT STDMETHODCALLTYPE GetLastError(BSTR* text) noexcept override;
  HRESULT STDMETHODCALLTYPE DecryptFileEx(VARIANT path, LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE HasKeypair(BSTR address, LONG* answer) noexcept override;
  HRESULT STDMETHODCALLTYPE Authenticate(SHORT* attempts, SHORT* wrong_account,
                                         SHORT* result) noexcept override;
  HRESULT STDMETHODCALLTYPE DecryptMailItem(IDispatch* item, BSTR* body, IDispatch* attachments,
                                            LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE AddToVector(IDispatch* addresses, BSTR text) noexcept override;
  HRESULT STDMETHODCALLTYPE HasEncryptedOrSignedAttachments(IDispatch* attachments,
                                                            VARIANT_BOOL* has) noexcept override;
  HRESULT STDMETHODCALLTYPE KillAllFiles(IDispatch* attachments) noexcept override;
  HRESULT STDMETHODCALLTYPE VerifyMailItem(IDispatch* item, BSTR* body, IDispatch* attachments,
                                           BSTR* signers, LONG* status) noexcept override;
  HRESULT STDMETHODCALLTYPE AddKeyAccountsToRecp(IDispatch* recipients) noexcept override;
  HRESULT STDMETHODCALLTYPE SignAndEncryptItem(IDispatch* item, IDispatch* attachments,
                                               VARIANT_BOOL no_options_bar,
                                               LONG* result) noexcept override;
  HRESULT STDMETHODCALLTYPE IsSignature(BSTR path, IDispatch* attachments, IDispatch* item,
                                        VARIANT_BOOL* is_signature) noexcept override;
  HRESULT STDMETHODCALLTYPE StoreAllAttachments(IDispatch* item, IDispatch* attachments,
                                                VARIANT_BOOL no_options_bar,
                                                VARIANT_BOOL* stored) noexcept override;
  HRESULT STDMETHODCALLTYPE ClearAttachments(IDispatch* item,
                                             VARIANT_BOOL* cleared) noexcept override;
  HRESULT STDMETHODCALLTYPE ReInsertAttachments(IDispatch* item, IDispatch* attachments,
                                                VARIANT_BOOL originals,
                                                VARIANT_BOOL* inserted) noexcept override;
  HRESULT STDMETHODCALLTYPE VerifyAttachment(IDispatch* data, IDispatch* signature,
                                             BSTR* outcome) noexcept override;

 private:
  friend Object;
  ~CryptoOperationsObject();

  /// Runs an operation whose results are in place already should it fail.
  template <typename Body>
  HRESULT Operation(Body body) noexcept;

  std::shared_ptr<AddInHost> host_;
  std::shared_ptr<CryptoOperations> operations_;
};

}  // namespace corvessa::windows
