#include "windows/addin/crypto_operations_object.h"

#include "windows/addin/addin_host.h"
#include "windows/addin/attachment_nodes_object.h"
#include "windows/com/bstr.h"
#include "windows/com/entry.h"
#include "windows/com/variant.h"
#include "windows/engine/com_string_vector.h"

namespace corvessa::windows {
namespace {

using com::TextOf;

VARIANT_BOOL FlagOf(bool value) {
  return value ? VARIANT_TRUE : VARIANT_FALSE;
}

/// A result that is its neutral value until the operation has one.
template <typename Value>
Value& Result(Value* result, Value neutral) {
  if (!result) com::RaiseFailed(E_POINTER, {});
  return *result = neutral;
}

void PutText(BSTR* target, std::string_view text) {
  com::Bstr made(text);
  SysFreeString(*target);
  *target = made.Release();
}

ComStringVector VectorOf(IDispatch* object) {
  if (!object) Raise(kObjectNotSet);
  Microsoft::WRL::ComPtr<::IEngineStringVector> vector;
  com::Check(object->QueryInterface(IID_PPV_ARGS(&vector)));
  return ComStringVector(std::move(vector));
}

}  // namespace

CryptoOperationsObject::CryptoOperationsObject()
    : host_(AddInHost::Shared()), operations_(std::make_shared<CryptoOperations>()) {}

CryptoOperationsObject::~CryptoOperationsObject() = default;

template <typename Body>
HRESULT CryptoOperationsObject::Operation(Body body) noexcept {
  const com::Entry entry;
  // A dialog may let its last user give it up.
  const Microsoft::WRL::ComPtr<ICryptoOperations> self(this);
  return Bordered<ICryptoOperations>([&] { body(*operations_); });
}

HRESULT CryptoOperationsObject::SetLookupKeyServers(BSTR servers) noexcept {
  return Operation([&](auto& crypto) { crypto.SetLookupKeyServers(TextOf(servers)); });
}

HRESULT CryptoOperationsObject::SetUpdateKeyServers(BSTR servers) noexcept {
  return Operation([&](auto& crypto) { crypto.SetUpdateKeyServers(TextOf(servers)); });
}

HRESULT CryptoOperationsObject::SetCustomerID(BSTR customer) noexcept {
  return Operation([&](auto& crypto) { crypto.SetCustomerID(TextOf(customer)); });
}

HRESULT CryptoOperationsObject::SetPGPMessageHeader(BSTR header) noexcept {
  return Operation([&](auto& crypto) { crypto.SetPGPMessageHeader(TextOf(header)); });
}

HRESULT CryptoOperationsObject::SetPGPSignatureHeader(BSTR header) noexcept {
  return Operation([&](auto& crypto) { crypto.SetPGPSignatureHeader(TextOf(header)); });
}

HRESULT CryptoOperationsObject::SetAnonymous(VARIANT_BOOL anonymous) noexcept {
  return Operation([&](auto& crypto) { crypto.SetAnonymous(anonymous != VARIANT_FALSE); });
}

HRESULT CryptoOperationsObject::Init() noexcept {
  return Operation([](auto& crypto) { crypto.Init(); });
}

HRESULT CryptoOperationsObject::GetLastError(BSTR* text) noexcept {
  return Operation([&](auto& crypto) {
    Result<BSTR>(text, nullptr);
    PutText(text, crypto.GetLastError());
  });
}

HRESULT CryptoOperationsObject::DecryptFileEx(VARIANT path, LONG* status) noexcept {
  return Operation([&](auto& crypto) {
    Result<LONG>(status, kGivenUp);
    com::Variant value;
    com::Check(VariantCopyInd(value.Receive(), &path));
    *status = crypto.DecryptFileEx(value.Text());
  });
}

HRESULT CryptoOperationsObject::HasKeypair(BSTR address, LONG* answer) noexcept {
  return Operation([&](auto& crypto) {
    Result<LONG>(answer, kKeyPairUnknown) = crypto.HasKeypair(TextOf(address));
  });
}

HRESULT CryptoOperationsObject::Authenticate(SHORT* attempts, SHORT* wrong_account,
                                             SHORT* result) noexcept {
  return Operation([&](auto& crypto) {
    Result<SHORT>(result, kRefused);
    if (!attempts || !wrong_account) com::RaiseFailed(E_POINTER, {});
    *result = crypto.Authenticate(*attempts, *wrong_account);
  });
}

HRESULT CryptoOperationsObject::DecryptMailItem(IDispatch* item, BSTR* body, IDispatch* attachments,
                                                LONG* status) noexcept {
  return Operation([&](auto& crypto) {
    Result<LONG>(status, kGivenUp);
    if (!body) com::RaiseFailed(E_POINTER, {});
    std::string text = TextOf(*body);
    const auto answer =
        crypto.DecryptMailItem(WrapItem(item), text, AttachmentNodesObject::NodesOf(attachments));
    PutText(body, text);
    *status = answer;
  });
}

HRESULT CryptoOperationsObject::AddToVector(IDispatch* addresses, BSTR text) noexcept {
  return Operation([&](auto& crypto) {
    ComStringVector vector = VectorOf(addresses);
    crypto.AddToVector(vector, TextOf(text));
  });
}

HRESULT CryptoOperationsObject::HasEncryptedOrSignedAttachments(IDispatch* attachments,
                                                                VARIANT_BOOL* has) noexcept {
  return Operation([&](auto& crypto) {
    Result(has, VARIANT_FALSE) =
        FlagOf(crypto.HasEncryptedOrSignedAttachments(AttachmentNodesObject::NodesOf(attachments)));
  });
}

HRESULT CryptoOperationsObject::KillAllFiles(IDispatch* attachments) noexcept {
  return Operation(
      [&](auto& crypto) { crypto.KillAllFiles(AttachmentNodesObject::NodesOf(attachments)); });
}

HRESULT CryptoOperationsObject::VerifyMailItem(IDispatch* item, BSTR* body, IDispatch* attachments,
                                               BSTR* signers, LONG* status) noexcept {
  return Operation([&](auto& crypto) {
    Result<LONG>(status, kGivenUp);
    if (!body || !signers) com::RaiseFailed(E_POINTER, {});
    std::string text = TextOf(*body);
    std::string names = TextOf(*signers);
    const auto answer = crypto.VerifyMailItem(WrapItem(item), text,
                                              AttachmentNodesObject::NodesOf(attachments), names);
    PutText(body, text);
    PutText(signers, names);
    *status = answer;
  });
}

HRESULT CryptoOperationsObject::AddKeyAccountsToRecp(IDispatch* recipients) noexcept {
  return Operation([&](auto& crypto) {
    ComStringVector vector = VectorOf(recipients);
    crypto.AddKeyAccountsToRecp(vector);
  });
}

HRESULT CryptoOperationsObject::SignAndEncryptItem(IDispatch* item, IDispatch* attachments,
                                                   VARIANT_BOOL no_options_bar,
                                                   LONG* result) noexcept {
  return Operation([&](auto& crypto) {
    Result<LONG>(result, kGivenUp);
    *result = crypto.SignAndEncryptItem(WrapItem(item), AttachmentNodesObject::NodesOf(attachments),
                                        no_options_bar != VARIANT_FALSE);
  });
}

HRESULT CryptoOperationsObject::IsSignature(BSTR path, IDispatch* attachments, IDispatch* item,
                                            VARIANT_BOOL* is_signature) noexcept {
  return Operation([&](auto& crypto) {
    Result(is_signature, VARIANT_FALSE) = FlagOf(crypto.IsSignature(
        TextOf(path), AttachmentNodesObject::NodesOf(attachments), WrapItem(item)));
  });
}

HRESULT CryptoOperationsObject::StoreAllAttachments(IDispatch* item, IDispatch* attachments,
                                                    VARIANT_BOOL no_options_bar,
                                                    VARIANT_BOOL* stored) noexcept {
  return Operation([&](auto& crypto) {
    Result(stored, VARIANT_FALSE) = FlagOf(
        crypto.StoreAllAttachments(WrapItem(item), AttachmentNodesObject::NodesOf(attachments),
                                   no_options_bar != VARIANT_FALSE));
  });
}

HRESULT CryptoOperationsObject::ClearAttachments(IDispatch* item, VARIANT_BOOL* cleared) noexcept {
  return Operation([&](auto& crypto) {
    Result(cleared, VARIANT_FALSE) = FlagOf(crypto.ClearAttachments(WrapItem(item)));
  });
}

HRESULT CryptoOperationsObject::ReInsertAttachments(IDispatch* item, IDispatch* attachments,
                                                    VARIANT_BOOL originals,
                                                    VARIANT_BOOL* inserted) noexcept {
  return Operation([&](auto& crypto) {
    Result(inserted, VARIANT_FALSE) = FlagOf(crypto.ReInsertAttachments(
        WrapItem(item), AttachmentNodesObject::NodesOf(attachments), originals != VARIANT_FALSE));
  });
}

HRESULT CryptoOperationsObject::VerifyAttachment(IDispatch* data, IDispatch* signature,
                                                 BSTR* outcome) noexcept {
  return Operation([&](auto& crypto) {
    Result<BSTR>(outcome, nullptr);
    PutText(outcome, crypto.VerifyAttachment(AttachmentNodesObject::NodeOf(data),
                                             AttachmentNodesObject::NodeOf(signature)));
  });
}

}  // namespace corvessa::windows
