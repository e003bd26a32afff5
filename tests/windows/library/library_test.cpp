#include <botan/block_cipher.h>
#include <botan/hash.h>
#include <botan/hex.h>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>

#include "base/secret_string.h"
#include "engine/armour.h"
#include "engine/key_import.h"
#include "engine/rnp_handles.h"
#include "engine/rnp_streams.h"

namespace corvessa::engine {
namespace {

// The start of the first published file whose SHA-1 sum another file shares.
constexpr std::string_view kColliding =
    "JVBERi0xLjMKJeLjz9MKCgoxIDAgb2JqCjw8L1dpZHRoIDIgMCBSL0hlaWdodCAzIDAgUi9UeXBlIDQgMCBSL1N1"
    "YnR5cGUgNSAwIFIvRmlsdGVyIDYgMCBSL0NvbG9yU3BhY2UgNyAwIFIvTGVuZ3RoIDggMCBSL0JpdHNQZXJDb21w"
    "b25lbnQgOD4+CnN0cmVhbQr/2P/+ACRTSEEtMSBpcyBkZWFkISEhISGFL+wJIzl1nDmxocY8TJfh//4Bc0bckWa2"
    "fhGPApq2IbJWD/nKZ8yox/hbqEx5AwwrPeIY+G2zqQkB1d9FwU8m/t+z3DjpasIv571yjw5FvOBG0jxXD+sUE5i7"
    "VS71oKgr4zH+pIA3uLXXHw4zLt+TrDUA603cDezBqGR5DHgsdiFWYN0wl5HQa9CvP5jNpLxGKbE=";

TEST(HashTest, SignaturesDetectACollisionOfSha1) {
  // The library as it is built for Windows, with a patch to its integrity code.
  const QuietLibrary quiet;
  const Ffi ffi = MakeFfi();
  const Key key = GenerateKeyPair(ffi.get(), "alice@example.org", SecretString("secret"), 1U << 16);
  ASSERT_EQ(rnp_key_unlock(key.get(), "secret"), RNP_SUCCESS);
  const auto sign = [&](std::string_view content, const char* hash) {
    TextSource source(content);
    TextSink signature;
    const Stream stream(source, signature);
    const auto op =
        Create<SignOp>(rnp_op_sign_detached_create, ffi.get(), stream.input(), stream.output());
    Check(rnp_op_sign_add_signature(op.get(), key.get(), nullptr));
    Check(rnp_op_sign_set_hash(op.get(), hash));
    return rnp_op_sign_execute(op.get());
  };
  const std::string colliding =
      Dearmour("-----BEGIN PGP MESSAGE-----\r\n\r\n" + std::string(kColliding) +
               "\r\n-----END PGP MESSAGE-----\r\n");
  ASSERT_EQ(colliding.size(), 320U);
  EXPECT_EQ(sign("x", "SHA1"), RNP_SUCCESS);
  EXPECT_NE(sign(colliding, "SHA1"), RNP_SUCCESS);
  EXPECT_EQ(sign(colliding, "SHA256"), RNP_SUCCESS);
}

#ifdef __i386__
/// Runs some work on a stack as 32-bit Windows gives it to a program: aligned to 4 bytes only.
void OnBareStack(void (*work)()) {
  asm volatile("subl $4, %%esp\n\tcall *%0\n\taddl $4, %%esp"
               :
               : "r"(work)
               : "eax", "ecx", "edx", "memory", "cc");
}
#else
void OnBareStack(void (*work)()) {
  work();
}
#endif

TEST(CipherTest, AesIsTheProcessorsOwnOnAnyStack) {
  OnBareStack([] {
    const auto aes = Botan::BlockCipher::create_or_throw("AES-256");
    EXPECT_EQ(aes->provider(), __builtin_cpu_supports("aes") ? "cpu" : "base");
    // The example of FIPS 197.
    std::uint8_t key[32];
    std::uint8_t block[16];
    for (std::uint8_t i = 0; i < 32; ++i) key[i] = i;
    for (std::uint8_t i = 0; i < 16; ++i) block[i] = static_cast<std::uint8_t>(i * 0x11);
    aes->set_key(key, sizeof key);
    aes->encrypt(block);
    EXPECT_EQ(Botan::hex_encode(block, sizeof block), "8EA2B7CA516745BFEAFC49904B496089");
    EXPECT_EQ(Botan::hex_encode(Botan::HashFunction::create_or_throw("SHA-1")->process("abc")),
              "A9993E364706816ABA3E25717850C26C9CD0D89D");
  });
}

}  // namespace
}  // namespace corvessa::engine
