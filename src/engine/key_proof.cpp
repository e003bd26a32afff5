#include <algorithm>

#include "engine/key_import.h"
#include "engine/operations.h"
#include "engine/packets.h"
#include "engine/rnp_streams.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

constexpr std::string_view kProbe = "probe";

/// A revocation that the secret numbers make is one of the public key. It is thrown away.
bool RevokesItself(rnp_key_handle_t primary) {
  TextSource nothing{{}};
  TextSink revocation;
  const Stream stream(nothing, revocation);
  if (rnp_key_export_revocation(primary, stream.output(), 0, nullptr, nullptr, nullptr) !=
      RNP_SUCCESS) {
    return false;
  }
  stream.Finish(RNP_SUCCESS);
  const std::string public_key = ExportPublic(primary);
  const Ffi scratch = MakeFfi();
  LoadKeys(scratch.get(), std::string(FirstPacket(public_key)) + revocation.text);
  const auto revoked = FindKey(scratch.get(), Text(rnp_key_get_fprint, primary));
  return revoked && Get<bool>(rnp_key_is_revoked, revoked.get());
}

bool DecryptsItsOwn(rnp_ffi_t ffi, Key key) {
  std::vector<Key> recipients;
  recipients.push_back(std::move(key));
  TextSource probe(kProbe);
  TextSink encrypted;
  Encrypt(ffi, recipients, /*compress=*/false, probe, encrypted);
  TextSource source(encrypted.text);
  TextSink decrypted;
  const Stream stream(source, decrypted);
  if (rnp_decrypt(ffi, stream.input(), stream.output()) != RNP_SUCCESS) return false;
  stream.Finish(RNP_SUCCESS);
  return decrypted.text == kProbe;
}

bool SignsWhatItVerifies(rnp_ffi_t ffi, rnp_key_handle_t key) {
  TextSource probe(kProbe);
  TextSink made;
  const Stream signing(probe, made);
  const auto sign = Create<SignOp>(rnp_op_sign_create, ffi, signing.input(), signing.output());
  Check(rnp_op_sign_add_signature(sign.get(), key, nullptr));
  signing.Finish(rnp_op_sign_execute(sign.get()));
  TextSource source(made.text);
  TextSink content;
  const Stream stream(source, content);
  const auto verify = Create<VerifyOp>(rnp_op_verify_create, ffi, stream.input(), stream.output());
  return rnp_op_verify_execute(verify.get()) == RNP_SUCCESS;
}

/// An expired or revoked subkey cannot be tried and fails.
bool Works(rnp_ffi_t ffi, const Key& subkey) {
  if (!IsUsable(subkey.get())) return false;
  if (!Get<bool>(rnp_key_allows_usage, subkey.get(), "encrypt")) {
    return SignsWhatItVerifies(ffi, subkey.get());
  }
  return DecryptsItsOwn(ffi, FindKey(ffi, Text(rnp_key_get_fprint, subkey.get())));
}

/// Who has the secret primary key decides about the subkeys, too; only where it is kept elsewhere
/// do they speak for themselves.
bool Fits(rnp_ffi_t ffi, const std::vector<Key>& secret_keys) {
  const auto primary = std::ranges::find_if(
      secret_keys, [](const Key& key) { return Get<bool>(rnp_key_is_primary, key.get()); });
  if (primary != secret_keys.end()) return RevokesItself(primary->get());
  return !secret_keys.empty() &&
         std::ranges::all_of(secret_keys, [&](const Key& key) { return Works(ffi, key); });
}

/// The primary key and the subkeys whose secret numbers are here.
std::vector<Key> WithNumbers(rnp_ffi_t ffi, const std::string& fingerprint) {
  auto keys = WithSubkeys(ffi, FindKey(ffi, fingerprint).get());
  std::erase_if(keys, [](const Key& key) {
    return !Get<bool>(rnp_key_have_secret, key.get()) || IsStub(key.get());
  });
  return keys;
}

bool IsProtected(const Key& key) {
  return Get<bool>(rnp_key_is_protected, key.get());
}

SecretString Asked(const KeyFacts& key, const AskPassphrase& ask) {
  if (auto given = ask ? ask(key.fingerprint, key.addresses) : std::nullopt) return *given;
  Fail(kWrongPassphrase, "The key " + key.fingerprint +
                             " is known without this secret half, which is taken only with its "
                             "passphrase; nothing was taken.");
}

/// What lies open beside what is protected counts as not opened: anybody may have put it there.
bool OpensAll(const std::vector<Key>& keys, bool are_protected, const SecretString& passphrase) {
  return std::ranges::all_of(keys, [&](const Key& key) {
    return IsProtected(key) == are_protected &&
           rnp_key_unlock(key.get(), passphrase.View().data()) == RNP_SUCCESS;
  });
}

}  // namespace

void RequireProof(const KeyFacts& key, const std::vector<std::string>& pieces,
                  const AskPassphrase& ask) {
  const Ffi scratch = MakeFfi();
  for (const auto& piece : pieces) LoadKeys(scratch.get(), piece);
  const auto keys = WithNumbers(scratch.get(), key.fingerprint);
  const bool are_protected = std::ranges::any_of(keys, IsProtected);
  if (!OpensAll(keys, are_protected, are_protected ? Asked(key, ask) : SecretString())) {
    Fail(kWrongPassphrase, "The passphrase does not open all of the secret key " + key.fingerprint +
                               "; nothing was taken.");
  }
  if (!Fits(scratch.get(), keys)) {
    Fail(kBadContent, "The secret key " + key.fingerprint +
                          " does not show that it belongs to the public key; nothing was taken.");
  }
}

}  // namespace corvessa::engine
