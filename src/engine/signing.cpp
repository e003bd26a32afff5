#include <algorithm>

#include "base/text.h"
#include "engine/armour.h"
#include "engine/key_facts.h"
#include "engine/operations.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

Key SigningKey(KeyStore& keys, std::string_view address) {
  auto latest_first = keys.Unlocked(address);
  std::ranges::reverse(latest_first);
  for (const auto& fingerprint : latest_first) {
    const auto primary = FindKey(keys.ffi(), fingerprint);
    // The newest may have been made on another machine, with only its public half here.
    for (auto& key : AllUsableFor(keys.ffi(), primary.get(), "sign")) {
      if (keys.Open(fingerprint, Text(rnp_key_get_keyid, key.get()))) return std::move(key);
    }
  }
  Fail(kNoKey, address.empty()
                   ? std::string("No key is unlocked to sign with.")
                   : "No key of " + std::string(address) + " is unlocked to sign with.");
}

template <typename CreateFunction>
void Sign(CreateFunction create, const KeyStore& keys, rnp_key_handle_t key, const char* hash,
          Source& source, Sink& sink) {
  const Stream stream(source, sink);
  const auto op = Create<SignOp>(create, keys.ffi(), stream.input(), stream.output());
  Check(rnp_op_sign_add_signature(op.get(), key, nullptr));
  Check(rnp_op_sign_set_hash(op.get(), hash));
  stream.Finish(rnp_op_sign_execute(op.get()));
}

}  // namespace

std::string ClearSign(KeyStore& keys, std::string_view address, std::string_view text,
                      std::string_view version) {
  const auto key = SigningKey(keys, address);
  const std::string normal = WithCrLf(text);
  TextSource source(normal);
  TextSink sink;
  Sign(rnp_op_sign_cleartext_create, keys, key.get(), "SHA512", source, sink);
  const auto signature = sink.text.rfind("-----BEGIN PGP SIGNATURE-----");
  const std::string binary = Dearmour(std::string_view(sink.text).substr(signature));
  return sink.text.substr(0, signature) + Armour(binary, "signature", version);
}

std::string SignDetached(KeyStore& keys, Source& source, std::string_view version) {
  const auto key = SigningKey(keys, {});
  TextSink sink;
  // Files are large, and processors have instructions for SHA-256: half the time of SHA-512.
  Sign(rnp_op_sign_detached_create, keys, key.get(), "SHA256", source, sink);
  return Armour(sink.text, "signature", version);
}

}  // namespace corvessa::engine
