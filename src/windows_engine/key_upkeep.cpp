#include <algorithm>

#include "windows/com/bstr.h"
#include "windows_engine/engine_call.h"
#include "windows_engine/engine_object.h"

namespace corvessa::windows {
namespace {

using engine::KeyInfo;
using engine::OpenPgpEngine;
using Microsoft::WRL::ComPtr;
using namespace platform::engine_status;

NimbraKeyFlags FlagsOf(const KeyInfo& key) {
  return static_cast<NimbraKeyFlags>(
      (key.secret ? nimbraKeySecret : 0) | (key.open ? nimbraKeyOpen : 0) |
      (key.revoked ? nimbraKeyRevoked : 0) | (key.expired ? nimbraKeyExpired : 0) |
      (key.encrypts ? nimbraKeyEncrypts : 0));
}

std::string BytesOf(SAFEARRAY* array) {
  if (!array) return {};
  LONG first = 0;
  LONG last = -1;
  void* data = nullptr;
  com::Check(SafeArrayGetLBound(array, 1, &first));
  com::Check(SafeArrayGetUBound(array, 1, &last));
  com::Check(SafeArrayAccessData(array, &data));
  std::string bytes(static_cast<const char*>(data), static_cast<std::size_t>(last - first + 1));
  SafeArrayUnaccessData(array);
  return bytes;
}

std::optional<SecretString> AskCaller(INimbraPassphraseSource& source,
                                      const std::string& fingerprint,
                                      const std::vector<std::string>& addresses) {
  ComPtr<IEngineStringVector> vector;
  if (!Provide(vector.GetAddressOf())) throw std::bad_alloc();
  AddItems(*vector.Get(), addresses);
  com::Bstr passphrase;
  VARIANT_BOOL is_given = VARIANT_FALSE;
  com::Check(source.GetPassphrase(com::Bstr(fingerprint).Get(), vector.Get(), passphrase.Receive(),
                                  &is_given),
             &source, __uuidof(INimbraPassphraseSource));
  if (is_given == VARIANT_FALSE) return std::nullopt;
  return com::SecretOf(passphrase.Get());
}

/// Asks a caller's object on the thread that it belongs to.
engine::AskPassphrase AskerOf(INimbraPassphraseSource* source) {
  return [source](const std::string& fingerprint, const std::vector<std::string>& addresses) {
    std::optional<SecretString> given;
    if (source) Worker::OnCaller([&] { given = AskCaller(*source, fingerprint, addresses); });
    return given;
  };
}

std::vector<std::string> FingerprintsOf(const std::vector<KeyInfo>& keys) {
  std::vector<std::string> fingerprints;
  for (const auto& key : keys) fingerprints.push_back(key.fingerprint);
  return fingerprints;
}

}  // namespace

HRESULT EngineObject::GenerateKey(BSTR name, BSTR address, BSTR passphrase, BSTR* fingerprint,
                                  LONG* status) noexcept {
  if (!ClearAll(fingerprint, status)) return E_POINTER;
  return UpkeepMethod([&] {
    const auto call = MakeCall(name);
    call->passphrase = com::SecretOf(passphrase);
    call->keys.resize(1);
    *status = session_.Perform(0, [call, to = com::TextOf(address)](OpenPgpEngine& engine) {
      return engine.GenerateKey(call->text, to, call->passphrase.View(), call->keys.front());
    });
    if (*status == kDone) Give(call->keys.front().fingerprint, fingerprint);
  });
}

HRESULT EngineObject::ImportKeys(SAFEARRAY* keys, INimbraPassphraseSource* passphrases,
                                 IEngineStringVector** fingerprints, LONG* status) noexcept {
  if (!ClearAll(fingerprints, status)) return E_POINTER;
  return UpkeepMethod([&] {
    const auto call = std::make_shared<EngineCall>();
    call->text = BytesOf(keys);
    const auto ask = AskerOf(passphrases);
    *status = session_.Perform(call->text.size(), [call, ask](OpenPgpEngine& engine) {
      return engine.ImportKeys(call->text, ask, call->keys);
    });
    // Nothing was written that may be read when the engine did not come back.
    if (*status != kUnexpected) AddItems(**fingerprints, FingerprintsOf(call->keys));
  });
}

HRESULT EngineObject::ExportPublicKeys(BSTR who, BSTR* armoured, LONG* status) noexcept {
  if (!ClearAll(armoured, status)) return E_POINTER;
  return UpkeepMethod([&] {
    const auto call = MakeCall(who);
    *status = session_.Perform(0, [call](OpenPgpEngine& engine) {
      return engine.ExportPublicKeys(call->text, call->result);
    });
    if (*status == kDone) Give(call->result, armoured);
  });
}

HRESULT EngineObject::ExportSecretKeys(BSTR who, BSTR* armoured, LONG* status) noexcept {
  if (!ClearAll(armoured, status)) return E_POINTER;
  return UpkeepMethod([&] {
    const auto call = MakeCall(who);
    *status = session_.Perform(0, [call](OpenPgpEngine& engine) {
      return engine.ExportSecretKeys(call->text, call->result);
    });
    if (*status == kDone) Give(call->result, armoured);
  });
}

HRESULT EngineObject::ListKeys(IEngineStringVector** fingerprints, LONG* status) noexcept {
  if (!ClearAll(fingerprints, status)) return E_POINTER;
  return UpkeepMethod([&] {
    const auto call = std::make_shared<EngineCall>();
    *status =
        session_.Perform(0, [call](OpenPgpEngine& engine) { return engine.ListKeys(call->keys); });
    if (*status == kDone) AddItems(**fingerprints, FingerprintsOf(call->keys));
  });
}

HRESULT EngineObject::DescribeKey(BSTR fingerprint, IEngineStringVector** user_ids,
                                  IEngineStringVector** addresses, BSTR* algorithm, double* created,
                                  double* expires, NimbraKeyFlags* flags, LONG* status) noexcept {
  if (!ClearAll(user_ids, addresses, algorithm, created, expires, flags, status)) return E_POINTER;
  return UpkeepMethod([&] {
    const auto call = MakeCall(fingerprint);
    *status = session_.Perform(
        0, [call](OpenPgpEngine& engine) { return engine.FindKeys(call->text, call->keys); });
    if (*status != kDone) return;
    const auto key = std::ranges::find(call->keys, call->text, &KeyInfo::fingerprint);
    *status = key == call->keys.end() ? kNoKey : kDone;
    if (*status != kDone) return;
    AddItems(**user_ids, key->user_ids);
    AddItems(**addresses, key->addresses);
    Give(key->algorithm, algorithm);
    *created = static_cast<double>(key->created);
    *expires = static_cast<double>(key->expires);
    *flags = FlagsOf(*key);
  });
}

HRESULT EngineObject::PublishKeys(BSTR address, LONG* status) noexcept {
  if (!ClearAll(status)) return E_POINTER;
  return UpkeepMethod([&] {
    const auto call = MakeCall(address);
    *status = session_.Perform(
        0, [call](OpenPgpEngine& engine) { return engine.PublishKeys(call->text); });
  });
}

HRESULT EngineObject::RemoveKeys(BSTR who, LONG* status) noexcept {
  if (!ClearAll(status)) return E_POINTER;
  return UpkeepMethod([&] {
    const auto call = MakeCall(who);
    *status = session_.Perform(
        0, [call](OpenPgpEngine& engine) { return engine.RemoveKeys(call->text); });
  });
}

}  // namespace corvessa::windows
