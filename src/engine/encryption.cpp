#include <array>
#include <cmath>
#include <cstdint>

#include "engine/operations.h"

namespace corvessa::engine {
namespace {

// Text and most documents stay below 6 bits a byte; deflated data, pictures and ciphertext come
// close to 8, as far as a sample of this size can show it.
constexpr double kDenseBitsPerByte = 7.5;
constexpr std::size_t kTellingSample = 2048;

double BitsPerByte(std::string_view bytes) {
  std::array<std::size_t, 256> counts{};
  for (const char byte : bytes) ++counts[static_cast<std::uint8_t>(byte)];
  double bits = 0;
  for (const auto count : counts) {
    if (count == 0) continue;
    const double share = static_cast<double>(count) / static_cast<double>(bytes.size());
    bits -= share * std::log2(share);
  }
  return bits;
}

}  // namespace

bool IsWorthCompressing(std::string_view samples) {
  return samples.size() < kTellingSample || BitsPerByte(samples) < kDenseBitsPerByte;
}

void Encrypt(rnp_ffi_t ffi, const std::vector<Key>& keys, bool compress, Source& source,
             Sink& sink) {
  const Stream stream(source, sink);
  const auto op = Create<EncryptOp>(rnp_op_encrypt_create, ffi, stream.input(), stream.output());
  for (const auto& key : keys) Check(rnp_op_encrypt_add_recipient(op.get(), key.get()));
  Check(rnp_op_encrypt_set_cipher(op.get(), "AES256"));
  Check(rnp_op_encrypt_set_compression(op.get(), "ZIP", compress ? 1 : 0));
  stream.Finish(rnp_op_encrypt_execute(op.get()));
}

}  // namespace corvessa::engine
