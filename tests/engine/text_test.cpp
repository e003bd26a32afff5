#include <gtest/gtest.h>

#include "base/error.h"
#include "engine/armour.h"
#include "engine/key_facts.h"
#include "engine/packets.h"
#include "engine/profile.h"
#include "engine/rnp_streams.h"
#include "engine/status.h"

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

TEST_F(TextTest, WritesTheVersionLinesOfItsOptions) {
  const auto lines = [](const std::string& text, std::string_view from) {
    return text.substr(text.find(from), 60);
  };
  EXPECT_EQ(Encrypted("x").substr(0, 31), "-----BEGIN PGP MESSAGE-----\r\n\r\n");
  alice->engine->SetOption("pgpMessageHeader", "Corvessa 1.0");
  alice->engine->SetOption("pgpSignatureHeader", "Corvessa Sign");
  const std::string armoured = Encrypted("x");
  const std::string signed_text = Signed("x");
  alice->engine->SetOption("pgpMessageHeader", "");
  alice->engine->SetOption("pgpSignatureHeader", "");
  EXPECT_EQ(armoured.substr(0, 54), "-----BEGIN PGP MESSAGE-----\r\nVersion: Corvessa 1.0\r\n\r\n");
  EXPECT_EQ(lines(signed_text, "-----BEGIN PGP SIGNATURE").substr(0, 57),
            "-----BEGIN PGP SIGNATURE-----\r\nVersion: Corvessa Sign\r\n\r\n");
  std::string plain;
  EXPECT_EQ(bob->engine->DecryptTextEx(armoured, nullptr, plain), 0);
  EXPECT_EQ(VerifyText(*bob->engine, signed_text).status, 1);
  EXPECT_THROW(alice->engine->SetOption("pgpMessageHeader", "a\nb"), Error);
  EXPECT_THROW(alice->engine->SetOption("lookupKeyservers", "ftp://keys"), Error);
  EXPECT_THROW(alice->engine->SetOption("noSuchOption", ""), Error);
}

TEST_F(TextTest, KeysAreLockedUntilTheirPassphraseIsGiven) {
  const std::string armoured = Encrypted("x");
  std::string plain;
  bob->engine->InitEngine();
  EXPECT_EQ(bob->engine->DecryptTextEx(armoured, nullptr, plain), -13);
  EXPECT_EQ(bob->engine->GetEngineLastError(),
            "The message is encrypted for bob@example.org, whose key is locked.");
  std::string signed_text = "untouched";
  EXPECT_EQ(bob->engine->SignText("x", nullptr, signed_text), -13);
  EXPECT_EQ(signed_text, "untouched");
  EXPECT_EQ(bob->engine->AuthenticateAccount("bob@example.org", "guess"), -4);
  EXPECT_EQ(bob->engine->DecryptTextEx(armoured, nullptr, plain), -13);
  EXPECT_EQ(bob->engine->AuthenticateAccount("alice@example.org", "secret"), -13);
  EXPECT_EQ(bob->engine->AuthenticateAccount("BOB@example.org", "secret"), 0);
  EXPECT_EQ(bob->engine->AuthenticateAccount("bob@example.org", "guess"), -4);
  EXPECT_EQ(bob->engine->DecryptTextEx(armoured, nullptr, plain), 0)
      << "a wrong guess locks nothing that was unlocked";
  const platform::EngineAccount other{"alice@example.org"};
  EXPECT_EQ(bob->engine->DecryptTextEx(armoured, &other, plain), -13);
  EXPECT_EQ(bob->engine->SignText("x", &other, signed_text), -13);
}

TEST_F(TextTest, EncryptsForAllRecipientsOrForNone) {
  std::string armoured = "untouched";
  EXPECT_EQ(alice->engine->EncryptText(To({"bob@example.org", "carol@example.org"}), "x", armoured),
            -13);
  EXPECT_EQ(alice->engine->GetEngineLastError(), "There is no usable key for carol@example.org.");
  EXPECT_EQ(alice->engine->EncryptText(To({"bob@example.org.evil.net"}), "x", armoured), -13);
  EXPECT_EQ(alice->engine->EncryptText(To({}), "x", armoured), -13);
  EXPECT_EQ(armoured, "untouched");
  EXPECT_EQ(alice->engine->EncryptText(To({"Bob@Example.org", "alice@example.org"}), "x", armoured),
            0);
  for (auto* const profile : {alice, bob}) {
    std::string plain;
    EXPECT_EQ(profile->engine->DecryptTextEx(armoured, nullptr, plain), 0);
    EXPECT_EQ(plain, "x");
  }
}

TEST_F(TextTest, HiddenRecipientsAreInNoPacketAndStillCanRead) {
  alice->engine->SetAnonymousMode(true);
  std::string armoured;
  ASSERT_EQ(alice->engine->EncryptText(To({"alice@example.org", "bob@example.org"}), "x", armoured),
            0);
  const std::string binary = Dearmour(armoured);
  const auto start = ReadEncryptedMessageStart(binary);
  ASSERT_TRUE(start);
  ASSERT_EQ(start->session_keys.size(), 2U);
  for (const auto& packet : start->session_keys) EXPECT_TRUE(IsHidden(binary, packet));
  std::string plain;
  EXPECT_EQ(bob->engine->DecryptTextEx(armoured, nullptr, plain), 0);
  EXPECT_EQ(plain, "x");
  Profile carol;
  carol.Generate("carol@example.org");
  carol.engine->AuthenticateAccount("carol@example.org", "secret");
  EXPECT_EQ(carol.engine->DecryptTextEx(armoured, nullptr, plain), -13);
  for (std::string message : {std::string(), std::string("\xc1\x02xx", 4), binary.substr(0, 90)}) {
    EXPECT_FALSE(HideRecipients(message)) << "taken for hidden: " << message;
  }
}

TEST_F(TextTest, WhatIsNoMessageOrIsDamagedGivesItsStatusAndNoText) {
  std::string text(256, '\0');
  for (int i = 0; i < 256; ++i) text[static_cast<std::size_t>(i)] = static_cast<char>(i * 7);
  const std::string good = Encrypted(text);
  std::string flipped = good;
  flipped[good.size() / 2] = flipped[good.size() / 2] == 'A' ? 'B' : 'A';
  std::string bad_sum = good;
  const auto sum = bad_sum.rfind("\r\n=") + 3;
  bad_sum[sum] = bad_sum[sum] == 'A' ? 'B' : 'A';
  const std::string binary = Dearmour(good);
  const auto armour = [](std::string_view bytes) { return Armour(bytes, "message", {}); };
  std::string no_protection = binary;
  no_protection[ReadEncryptedMessageStart(binary)->length] = static_cast<char>(0xc9);
  std::string huge = binary.substr(0, ReadEncryptedMessageStart(binary)->length);
  huge += std::string("\xd2\xff\xff\xff\xff\xff\x01", 7) + "x";
  struct Case {
    const char* what;
    std::string text;
    EngineStatus status;
  };
  for (const auto& [what, input, status] :
       {Case{"empty", "", -9}, Case{"plain", "Hello -----BEGIN PGP MESSAGE-----", -9},
        Case{"no armour", binary, -9}, Case{"a key", alice->PublicKeys("alice@example.org"), -9},
        Case{"a signed text", Signed("x"), -9}, Case{"cut off", good.substr(0, 300), -3},
        Case{"flipped", flipped, -3}, Case{"wrong checksum", bad_sum, -3},
        Case{"only its first line", "-----BEGIN PGP MESSAGE-----\r\n", -3},
        Case{"a signature as message", armour("\x88\x01\x04"), -3},
        Case{"no data", armour(binary.substr(0, 96)), -3},
        Case{"cut off within", armour(binary.substr(0, binary.size() - 30)), -3},
        Case{"no integrity protection", armour(no_protection), -3},
        Case{"4 GiB claimed", armour(huge), -3}}) {
    std::string plain = "untouched";
    EXPECT_EQ(bob->engine->DecryptTextEx(input, nullptr, plain), status) << what;
    EXPECT_EQ(plain, "untouched") << what;
  }
}

TEST_F(TextTest, OnlyWhatWasSignedIsReturned) {
  const std::string good = Signed("one\n-two\nthree");
  const Verified verified{1, {"alice@example.org"}, {}, "one\r\n-two\r\nthree"};
  const auto changed = [&](std::string_view from, std::string_view to) {
    std::string text = good;
    text.replace(text.find(from), from.size(), to);
    return text;
  };
  EXPECT_EQ(VerifyText(*bob->engine, good + "-- \nThe list's footer"), verified);
  EXPECT_EQ(VerifyText(*bob->engine, good + Signed("second")), verified);
  EXPECT_EQ(VerifyText(*bob->engine, "\r\n \n" + good), verified);
  EXPECT_EQ(VerifyText(*bob->engine, changed("one", "one \t")), verified);
  std::string unix_lines = good;
  std::erase(unix_lines, '\r');
  EXPECT_EQ(VerifyText(*bob->engine, unix_lines), verified);

  const Verified bad{0, {"alice@example.org"}, {}, ""};
  EXPECT_EQ(VerifyText(*bob->engine, changed("one", "0ne")), bad);
  EXPECT_EQ(VerifyText(*bob->engine, changed("three", "three\r\n")), bad);
  EXPECT_EQ(VerifyText(*bob->engine, changed("- -two", "two")), bad);
  EXPECT_EQ(bob->engine->GetEngineLastError(),
            "The signature of alice@example.org does not fit the content.");

  const Verified damaged{-3, {}, {}, ""};
  for (const auto& text :
       {"Pay 1000 to Mallory\r\n" + good, changed("Hash: SHA512", "Comment: Pay"),
        changed("Hash: SHA512", "Hash: SHA512\r\nPay 1000"), changed("- -two", "-two"),
        good.substr(0, good.find("-----BEGIN PGP SIGNATURE")),
        good.substr(0, good.find("-----END PGP SIGNATURE")),
        changed("-----BEGIN PGP SIGNATURE-----\r\n\r\nw",
                "-----BEGIN PGP SIGNATURE-----\r\n\r\nx")}) {
    EXPECT_EQ(VerifyText(*bob->engine, text), damaged) << text;
  }
  EXPECT_EQ(VerifyText(*bob->engine, "Hello"), (Verified{-9, {}, {}, ""}));
}

TEST_F(TextTest, AnUnknownSignerIsNamedByKeyId) {
  Profile carol;
  EXPECT_EQ(VerifyText(*carol.engine, Signed("x")),
            (Verified{-13, {}, {alice_key.substr(24)}, ""}));
}

TEST_F(TextTest, AFlippedByteNeverGivesAnotherText) {
  const std::string text = "The launch code is 0000.";
  const std::string binary = Dearmour(Encrypted(text));
  for (std::size_t i = 0; i < binary.size(); ++i) {
    std::string flipped = binary;
    flipped[i] = static_cast<char>(flipped[i] ^ 0x55);
    std::string plain = "untouched";
    const auto status = bob->engine->DecryptTextEx(Armour(flipped, "message", {}), nullptr, plain);
    // A packet length can be wrong without harm to the protected text.
    if (status == 0) {
      EXPECT_EQ(plain, text) << "byte " << i;
      continue;
    }
    EXPECT_TRUE(status == -3 || status == -13) << "byte " << i << " gave " << status;
    EXPECT_EQ(plain, "untouched") << "byte " << i;
  }
}

/// Packets, encrypted for Bob as they are.
std::string EncryptedPackets(const std::string& bobs_keys, std::string_view packets) {
  const Ffi ffi = MakeFfi();
  const auto key = FindKey(ffi.get(), LoadKeys(ffi.get(), bobs_keys).front());
  TextSource source(packets);
  TextSink sink;
  const Stream stream(source, sink);
  const auto op =
      Create<EncryptOp>(rnp_op_encrypt_create, ffi.get(), stream.input(), stream.output());
  Check(rnp_op_encrypt_add_recipient(op.get(), key.get()));
  Check(rnp_op_encrypt_set_flags(op.get(), RNP_ENCRYPT_NOWRAP));
  stream.Finish(rnp_op_encrypt_execute(op.get()));
  return Armour(sink.text, "message", {});
}

TEST_F(TextTest, DeepNestingAndBombsAreRefused) {
  const auto nested = [&](int depth) {
    std::string packets(
        "\xcb\x07"
        "b\x00\x00\x00\x00\x00x",
        9);
    for (int i = 0; i < depth; ++i) {
      const std::string body =
          std::string(1, '\0') + packets;  // compressed by method 0: not at all
      packets = "\xc8\xff" + std::string(2, '\0') + static_cast<char>(body.size() >> 8) +
                static_cast<char>(body.size()) + body;
    }
    std::string plain = "untouched";
    const auto status = bob->engine->DecryptTextEx(
        EncryptedPackets(alice->PublicKeys("bob@example.org"), packets), nullptr, plain);
    return std::pair(status, plain);
  };
  EXPECT_EQ(nested(5), std::pair(0, std::string("x")));
  EXPECT_EQ(nested(40), std::pair(-3, std::string("untouched")));
  EXPECT_EQ(nested(2000), std::pair(-3, std::string("untouched")));

  const std::string bomb = Encrypted(std::string((256U << 20) + 1, '\0'));
  EXPECT_LT(bomb.size(), 4U << 20);
  std::string plain = "untouched";
  EXPECT_EQ(bob->engine->DecryptTextEx(bomb, nullptr, plain), -3);
  EXPECT_EQ(plain, "untouched");
  EXPECT_EQ(bob->engine->GetEngineLastError(), "The text is too large: more than 268435456 bytes.");
  const auto file = bob->Write("bomb.pgp", bomb);
  EXPECT_EQ(bob->engine->DecryptFileEx(file, nullptr), -3);
  EXPECT_EQ(bob->engine->GetEngineLastError(),
            "The content is too large: more than 268435456 bytes.");
  EXPECT_TRUE(ReadFile(file) == bomb) << "the file was changed";
}

}  // namespace
}  // namespace corvessa::engine
