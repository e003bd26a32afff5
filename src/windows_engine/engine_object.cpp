#include "windows_engine/engine_object.h"

#include "windows/com/bstr.h"
#include "windows_engine/engine_call.h"
#include "windows_engine/local_paths.h"

namespace corvessa::windows {
namespace {

using engine::OpenPgpEngine;
using namespace platform::engine_status;

/// Nothing was written that may be read when the engine did not come back.
void GiveItems(const EngineCall& call, platform::EngineStatus status, IEngineStringVector* vector,
               IEngineStringVector* second = nullptr) {
  if (status == kUnexpected) return;
  AddItems(*vector, ToVector(*call.items));
  if (second) AddItems(*second, ToVector(*call.second_items));
}

}  // namespace

HRESULT EngineObject::SetOption(BSTR name, BSTR value) noexcept {
  return EngineMethod([&] { session_.SetOption(com::TextOf(name), com::TextOf(value)); });
}

HRESULT EngineObject::InitEngine(LONG* status) noexcept {
  if (!ClearAll(status)) return E_POINTER;
  return EngineMethod([&] {
    *status = session_.Perform(0, [](OpenPgpEngine& engine) {
      engine.InitEngine();
      return kDone;
    });
  });
}

HRESULT EngineObject::QueryKeyPair(BSTR address, BSTR* text, LONG* status) noexcept {
  if (!ClearAll(text, status)) return E_POINTER;
  return EngineMethod([&] {
    const auto call = MakeCall(address);
    *status = session_.Perform(
        0, [call](OpenPgpEngine& engine) { return engine.QueryKeyPair(call->text, call->result); });
    if (*status == kDone) Give(call->result, text);
  });
}

HRESULT EngineObject::AuthenticateAccount(BSTR address, BSTR passphrase, LONG* status) noexcept {
  if (!ClearAll(status)) return E_POINTER;
  return EngineMethod([&] {
    const auto call = MakeCall(address);
    call->passphrase = com::SecretOf(passphrase);
    *status = session_.Perform(0, [call](OpenPgpEngine& engine) {
      return engine.AuthenticateAccount(call->text, call->passphrase.View());
    });
  });
}

HRESULT EngineObject::SignFile(BSTR path, BSTR* signature_path, LONG* status) noexcept {
  if (!ClearAll(signature_path, status)) return E_POINTER;
  return EngineMethod([&] {
    const auto call = MakeCall(path);
    *status = session_.Perform(FileSize(call->text), [call](OpenPgpEngine& engine) {
      return engine.SignFile(call->text, call->result);
    });
    if (*status == kDone) Give(call->result, signature_path);
  });
}

HRESULT EngineObject::SignText(BSTR text, IDispatch* account, BSTR* signed_text,
                               LONG* status) noexcept {
  if (!ClearAll(signed_text, status)) return E_POINTER;
  return EngineMethod([&] {
    const auto call = MakeCall(text);
    call->account = AccountOf(account);
    *status = session_.Perform(call->text.size(), [call](OpenPgpEngine& engine) {
      return engine.SignText(call->text, call->Account(), call->result);
    });
    if (*status == kDone) Give(call->result, signed_text);
  });
}

HRESULT EngineObject::EncryptText(IEngineStringVector* recipients, BSTR text, BSTR* armoured,
                                  LONG* status) noexcept {
  if (!ClearAll(armoured, status)) return E_POINTER;
  return EngineMethod([&] {
    const auto call = MakeCall(text);
    call->recipients = RecipientsOf(recipients);
    *status = session_.Perform(call->text.size(), [call](OpenPgpEngine& engine) {
      return engine.EncryptText(*call->recipients, call->text, call->result);
    });
    if (*status == kDone) Give(call->result, armoured);
  });
}

HRESULT EngineObject::DecryptFileEx(BSTR path, IDispatch* account, LONG* status) noexcept {
  if (!ClearAll(status)) return E_POINTER;
  return EngineMethod([&] {
    const auto call = MakeCall(path);
    call->account = AccountOf(account);
    *status = session_.Perform(FileSize(call->text), [call](OpenPgpEngine& engine) {
      return engine.DecryptFileEx(call->text, call->Account());
    });
  });
}

HRESULT EngineObject::DecryptTextEx(BSTR armoured, IDispatch* account, BSTR* plain,
                                    LONG* status) noexcept {
  if (!ClearAll(plain, status)) return E_POINTER;
  return EngineMethod([&] {
    const auto call = MakeCall(armoured);
    call->account = AccountOf(account);
    *status = session_.Perform(call->text.size(), [call](OpenPgpEngine& engine) {
      return engine.DecryptTextEx(call->text, call->Account(), call->result);
    });
    if (*status == kDone) Give(call->result, plain);
  });
}

HRESULT EngineObject::VerifyText(BSTR signed_text, IEngineStringVector** signers,
                                 IEngineStringVector** unknown_signers, BSTR* content,
                                 LONG* status) noexcept {
  if (!ClearAll(signers, unknown_signers, content, status)) return E_POINTER;
  return EngineMethod([&] {
    const auto call = MakeCall(signed_text);
    *status = session_.Perform(call->text.size(), [call](OpenPgpEngine& engine) {
      return engine.VerifyText(call->text, *call->items, *call->second_items, call->result);
    });
    GiveItems(*call, *status, *signers, *unknown_signers);
    if (*status == kGoodSignature) Give(call->result, content);
  });
}

HRESULT EngineObject::VerifyFile(BSTR path, BSTR signature_path, IEngineStringVector** signers,
                                 IEngineStringVector** unknown_signers, LONG* status) noexcept {
  if (!ClearAll(signers, unknown_signers, status)) return E_POINTER;
  return EngineMethod([&] {
    const auto call = MakeCall(path, signature_path);
    *status = session_.Perform(FileSize(call->text), [call](OpenPgpEngine& engine) {
      return engine.VerifyFile(call->text, call->second_text, *call->items, *call->second_items);
    });
    GiveItems(*call, *status, *signers, *unknown_signers);
  });
}

HRESULT EngineObject::GetEngineLastError(BSTR* text) noexcept {
  if (!ClearAll(text)) return E_POINTER;
  return EngineMethod([&] { Give(session_.LastError(), text); });
}

HRESULT EngineObject::EncryptFileToFile(IEngineStringVector* recipients, BSTR path,
                                        BSTR* encrypted_path, LONG* status) noexcept {
  if (!ClearAll(status) || !encrypted_path) return E_POINTER;
  return EngineMethod([&] {
    const auto call = MakeCall(path, *encrypted_path);
    call->recipients = RecipientsOf(recipients);
    const bool has_place = !call->second_text.empty();
    if (!has_place) call->second_text = NewTemporaryPath();
    *status = session_.Perform(FileSize(call->text), [call](OpenPgpEngine& engine) {
      return engine.EncryptFileToFile(*call->recipients, call->text, call->second_text);
    });
    if (*status == kDone && !has_place) Give(call->second_text, encrypted_path);
  });
}

HRESULT EngineObject::SetAnonymousMode(VARIANT_BOOL anonymous) noexcept {
  return EngineMethod([&] { session_.SetAnonymousMode(anonymous != VARIANT_FALSE); });
}

HRESULT EngineObject::GetAddressADKs(BSTR address, IEngineStringVector** addresses,
                                     LONG* status) noexcept {
  if (!ClearAll(addresses, status)) return E_POINTER;
  return EngineMethod([&] {
    const auto call = MakeCall(address);
    *status = session_.Perform(0, [call](OpenPgpEngine& engine) {
      return engine.GetAddressADKs(call->text, *call->items);
    });
    GiveItems(*call, *status, *addresses);
  });
}

HRESULT EngineObject::GetRecipientADKs(BSTR recipient, IEngineStringVector** addresses,
                                       LONG* status) noexcept {
  if (!ClearAll(addresses, status)) return E_POINTER;
  return EngineMethod([&] {
    const auto call = MakeCall(recipient);
    *status = session_.Perform(0, [call](OpenPgpEngine& engine) {
      return engine.GetRecipientADKs(call->text, *call->items);
    });
    GiveItems(*call, *status, *addresses);
  });
}

}  // namespace corvessa::windows
