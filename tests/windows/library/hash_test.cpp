#include <gtest/gtest.h>
#include <string>

#include "base/secret_string.h"
#include "engine/key_import.h"
#include "engine/rnp_handles.h"
#include "engine/rnp_streams.h"

namespace corvessa::engine {
namespace {

// The start of the first published file whose SHA-1 sum another file shares.
constexpr std::string_view kColliding =
    "255044462d312e330a25e2e3cfd30a0a0a312030206f626a0a3c3c2f57696474682032203020522f4865696768"
    "742033203020522f547970652034203020522f537562747970652035203020522f46696c746572203620302052"
    "2f436f6c6f7253706163652037203020522f4c656e6774682038203020522f42697473506572436f6d706f6e65"
    "6e7420383e3e0a73747265616d0affd8fffe00245348412d3120697320646561642121212121852fec09233975"
    "9c39b1a1c63c4c97e1fffe017346dc9166b67e118f029ab621b2560ff9ca67cca8c7f85ba84c79030c2b3de218"
    "f86db3a90901d5df45c14f26fedfb3dc38e96ac22fe7bd728f0e45bce046d23c570feb141398bb552ef5a0a82b"
    "e331fea48037b8b5d71f0e332edf93ac3500eb4ddc0decc1a864790c782c76215660dd309791d06bd0af3f98cd"
    "a4bc4629b1";

std::string Bytes(std::string_view hexadecimal) {
  std::string bytes;
  for (std::size_t i = 0; i < hexadecimal.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(std::string(hexadecimal.substr(i, 2)), nullptr, 16));
  }
  return bytes;
}

/// The library as it is built for Windows, with a patch to its integrity code.
class HashTest : public ::testing::Test {
 protected:
  rnp_result_t Sign(std::string_view content, const char* hash) {
    TextSource source(content);
    TextSink signature;
    const Stream stream(source, signature);
    const auto op =
        Create<SignOp>(rnp_op_sign_detached_create, ffi.get(), stream.input(), stream.output());
    Check(rnp_op_sign_add_signature(op.get(), key.get(), nullptr));
    Check(rnp_op_sign_set_hash(op.get(), hash));
    return rnp_op_sign_execute(op.get());
  }

  const QuietLibrary quiet;
  const Ffi ffi = MakeFfi();
  const Key key = GenerateKeyPair(ffi.get(), "alice@example.org", SecretString("secret"));
};

TEST_F(HashTest, SignaturesDetectACollisionOfSha1) {
  ASSERT_EQ(rnp_key_unlock(key.get(), "secret"), RNP_SUCCESS);
  EXPECT_EQ(Sign("x", "SHA1"), RNP_SUCCESS);
  EXPECT_NE(Sign(Bytes(kColliding), "SHA1"), RNP_SUCCESS);
  EXPECT_EQ(Sign(Bytes(kColliding), "SHA256"), RNP_SUCCESS);
}

}  // namespace
}  // namespace corvessa::engine
