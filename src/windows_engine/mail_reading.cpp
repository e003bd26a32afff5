#include "windows/com/bstr.h"
#include "windows_engine/engine_call.h"
#include "windows_engine/engine_object.h"
#include "windows_engine/local_paths.h"

namespace corvessa::windows {

using engine::OpenPgpEngine;
using platform::engine_status::kDone;

HRESULT EngineObject::SetDeclaredCharset(BSTR charset) noexcept {
  return ReadingMethod([&] {
    const auto call = MakeCall(charset);
    session_.Perform(0, [call](OpenPgpEngine& engine) {
      engine.SetDeclaredCharset(call->text);
      return kDone;
    });
  });
}

HRESULT EngineObject::SetMessagePassphrase(BSTR passphrase) noexcept {
  return ReadingMethod([&] {
    const auto call = MakeCall(nullptr);
    call->passphrase = com::SecretOf(passphrase);
    session_.Perform(0, [call](OpenPgpEngine& engine) {
      engine.SetMessagePassphrase(call->passphrase.View());
      return kDone;
    });
  });
}

HRESULT EngineObject::OpenSignedText(BSTR armoured, BSTR* signed_text, LONG* status) noexcept {
  if (!ClearAll(signed_text, status)) return E_POINTER;
  return ReadingMethod([&] {
    const auto call = MakeCall(armoured);
    *status = session_.Perform(call->text.size(), [call](OpenPgpEngine& engine) {
      return engine.OpenSignedText(call->text, call->result);
    });
    if (*status == kDone) Give(call->result, signed_text);
  });
}

HRESULT EngineObject::GetTrouble(BSTR* reason, IEngineStringVector** key_ids,
                                 BSTR* address) noexcept {
  if (!ClearAll(reason, key_ids, address)) return E_POINTER;
  return ReadingMethod([&] {
    const auto& trouble = session_.Trouble();
    Give(trouble.reason, reason);
    AddItems(**key_ids, trouble.key_ids);
    Give(trouble.address, address);
  });
}

HRESULT EngineObject::DecryptSignedFile(BSTR path, IDispatch* account, VARIANT_BOOL* is_signed,
                                        LONG* status) noexcept {
  if (!ClearAll(is_signed, status)) return E_POINTER;
  return ReadingMethod([&] {
    const auto call = MakeCall(path);
    call->account = AccountOf(account);
    *status = session_.Perform(FileSize(call->text), [call](OpenPgpEngine& engine) {
      return engine.DecryptSignedFile(call->text, call->Account(), call->is_signed);
    });
    // What an operation that did not come back has written may not be read.
    if (*status == kDone && call->is_signed) *is_signed = VARIANT_TRUE;
  });
}

}  // namespace corvessa::windows
