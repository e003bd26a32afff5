#include <gtest/gtest.h>

#include "engine/profile.h"

namespace corvessa::engine {
namespace {

using ::testing::Test;

/// Alice and Bob know each other's public keys.
class TextTest : public Test {
 protected:
  static void SetUpTestSuite() {
    alice = new Profile;
    bob = new Profile;
    alice_key = alice->Generate("alice@example.org");
    bob_key = bob->Generate("bob@example.org");
    bob->Import(alice->PublicKeys("alice@example.org"));
    alice->Import(bob->PublicKeys("bob@example.org"));
  }
  static void TearDownTestSuite() {
    delete alice;
    delete bob;
  }
  void SetUp() override {
    ASSERT_EQ(alice->engine->AuthenticateAccount("alice@example.org", "secret"), 0);
    ASSERT_EQ(bob->engine->AuthenticateAccount("bob@example.org", "secret"), 0);
  }
  void TearDown() override {
    alice->engine->InitEngine();
    bob->engine->InitEngine();
    alice->engine->SetAnonymousMode(false);
  }

  static std::string Encrypted(std::string_view text) {
    std::string armoured;
    EXPECT_EQ(alice->engine->EncryptText(To({"bob@example.org"}), text, armoured), 0);
    return armoured;
  }
  static std::string Signed(std::string_view text) {
    std::string signed_text;
    EXPECT_EQ(alice->engine->SignText(text, nullptr, signed_text), 0);
    return signed_text;
  }

  static inline Profile* alice = nullptr;
  static inline Profile* bob = nullptr;
  static inline std::string alice_key;
  static inline std::string bob_key;
};

TEST_F(TextTest, EncryptsAndDecryptsEveryText) {
  std::string every_byte;
  for (int i = 0; i < 256; ++i) every_byte += static_cast<char>(i);
  for (const std::string& text :
       {std::string(), std::string("a"), std::string("line\r\nline\n\r \t\n"), every_byte,
        std::string(10'000'000, 'x')}) {
    std::string plain = "untouched";
    EXPECT_EQ(bob->engine->DecryptTextEx(Encrypted(text), nullptr, plain), 0);
    EXPECT_TRUE(plain == text) << text.size();
  }
}

TEST_F(TextTest, SignsAndVerifiesEveryTextAndReturnsWhatWasSigned) {
  struct Case {
    std::string text;
    std::string content;
  };
  for (const auto& [text, content] :
       {Case{"", ""},
        {"a", "a"},
        {"a\n", "a\r\n"},
        {"a\r\rb\r\n", "a\r\n\r\nb\r\n"},
        {"\r\n", "\r\n"},
        {"blanks \t\r\n \t\r\nend  ", "blanks\r\n\r\nend"},
        {"-dash\n- item\n-- \n-", "-dash\r\n- item\r\n--\r\n-"},
        {"-----BEGIN PGP SIGNATURE-----\nFrom x", "-----BEGIN PGP SIGNATURE-----\r\nFrom x"},
        {"gr\xc3\xbc\xc3\x9f", "gr\xc3\xbc\xc3\x9f"}}) {
    EXPECT_EQ(VerifyText(*bob->engine, Signed(text)),
              (Verified{1, {"alice@example.org"}, {}, content}))
        << text;
  }
}

}  // namespace
}  // namespace corvessa::engine
