#include "windows/com/bstr.h"
#include "windows_engine/engine_call.h"
#include "windows_engine/engine_object.h"

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

}  // namespace corvessa::windows
