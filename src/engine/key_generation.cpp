#include <cstdint>

#include "engine/key_import.h"

namespace corvessa::engine {
namespace {

void Protect(rnp_op_generate_t op, const SecretString& passphrase, std::uint32_t work) {
  Check(rnp_op_generate_set_hash(op, "SHA512"));
  Check(rnp_op_generate_set_expiration(op, 0));  // the library's keys would end after two years
  Check(rnp_op_generate_set_protection_password(op, passphrase.View().data()));
  Check(rnp_op_generate_set_protection_cipher(op, "AES256"));
  Check(rnp_op_generate_set_protection_hash(op, "SHA512"));
  Check(rnp_op_generate_set_protection_iterations(op, work));
}

Key Execute(rnp_op_generate_t op) {
  Check(rnp_op_generate_execute(op));
  return Make<Key>(rnp_op_generate_get_key, op);
}

}  // namespace

Key GenerateKeyPair(rnp_ffi_t ffi, const std::string& user_id, const SecretString& passphrase,
                    std::uint32_t work) {
  const auto op = Create<GenerateOp>(rnp_op_generate_create, ffi, "EDDSA");
  Protect(op.get(), passphrase, work);
  Check(rnp_op_generate_set_userid(op.get(), user_id.c_str()));
  for (const auto* usage : {"certify", "sign"}) Check(rnp_op_generate_add_usage(op.get(), usage));
  for (const auto* cipher : {"AES256", "AES192", "AES128"}) {
    Check(rnp_op_generate_add_pref_cipher(op.get(), cipher));
  }
  for (const auto* hash : {"SHA512", "SHA384", "SHA256"}) {
    Check(rnp_op_generate_add_pref_hash(op.get(), hash));
  }
  for (const auto* method : {"ZIP", "ZLIB"}) {
    Check(rnp_op_generate_add_pref_compression(op.get(), method));
  }
  auto primary = Execute(op.get());

  Check(rnp_key_unlock(primary.get(), passphrase.View().data()));
  const auto sub_op = Create<GenerateOp>(rnp_op_generate_subkey_create, ffi, primary.get(), "ECDH");
  Protect(sub_op.get(), passphrase, work);
  Check(rnp_op_generate_set_curve(sub_op.get(), "Curve25519"));
  Check(rnp_op_generate_add_usage(sub_op.get(), "encrypt"));
  Execute(sub_op.get());
  Check(rnp_key_lock(primary.get()));
  return primary;
}

}  // namespace corvessa::engine
