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

}  // namespace
}  // namespace corvessa::engine
