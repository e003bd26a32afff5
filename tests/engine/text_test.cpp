#include <gtest/gtest.h>
#include <regex>

#include "base/error.h"
#include "engine/armour.h"
#include "engine/key_facts.h"
#include "engine/key_import.h"
#include "engine/packets.h"
#include "engine/profile.h"
#include "engine/rnp_streams.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

/// Alice and Bob know each other's public keys.
class TextTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    alice = new Profile;
    bob = new Profile;
    alice_key = alice->Generate("alice@example.org");
    bob->Generate("bob@example.org");
    bob->Import(alice->PublicKeys("alice@example.org"));
    alice->Import(bob->PublicKeys("bob@example.org"));
  }
  static void TearDownTestSuite() {
    delete alice;
    delete bob;
  }
  void SetUp() override {
    alice->Unlock("alice@example.org");
    bob->Unlock("bob@example.org");
  }
  void TearDown() override {
    alice->engine->InitEngine();
    bob->engine->InitEngine();
    alice->engine->SetAnonymousMode(false);
  }

  static std::string Encrypted(std::string_view text) {
    return alice->EncryptText(To({"bob@example.org"}), text).second;
  }
  static std::string Signed(std::string_view text) { return alice->SignText(text).second; }
  static std::string InArmour(std::string_view bytes) { return Armour(bytes, "message", {}); }

  static inline Profile* alice = nullptr;
  static inline Profile* bob = nullptr;
  static inline std::string alice_key;
};

TEST_F(TextTest, WritesTheVersionLinesOfItsOptions) {
  const std::string long_text(100, 'x');
  EXPECT_TRUE(Encrypted("x").starts_with("-----BEGIN PGP MESSAGE-----\r\n\r\n"));
  alice->engine->SetOption("pgpMessageHeader", "Corvessa 1.0");
  alice->engine->SetOption("pgpSignatureHeader", "Corvessa Sign");
  const std::string armoured = Encrypted(long_text);
  const std::string signed_text = Signed("x");
  alice->engine->SetOption("pgpMessageHeader", "");
  alice->engine->SetOption("pgpSignatureHeader", "");
  const auto matches = [](const std::string& block, const std::string& start) {
    return std::regex_match(
        block, std::regex(start + "\\r\\n\\r\\n([\\w+/]{64}\\r\\n)+[\\w+/]+=*"
                                  "\\r\\n=[\\w+/]{4}\\r\\n-----END PGP \\w+-----\\r\\n"));
  };
  EXPECT_TRUE(matches(armoured, "-----BEGIN PGP MESSAGE-----\r\nVersion: Corvessa 1.0"))
      << armoured;
  EXPECT_TRUE(matches(signed_text,
                      "-----BEGIN PGP SIGNED MESSAGE-----\r\nHash: SHA512\r\n\r\nx\r\n"
                      "-----BEGIN PGP SIGNATURE-----\r\nVersion: Corvessa Sign"))
      << signed_text;
  const auto changed = [&](std::string_view from, std::size_t length, std::string_view to) {
    std::string text = armoured;
    return text.replace(text.rfind(from), length, to);
  };
  for (const auto& readable : {armoured, changed("\r\n=", 7, ""), changed("\r\n=", 7, "\r\n=AAAA"),
                               changed("\r\n\r\n", 4, "\r\n"), changed("\r\n=", 7, "=AAAA"),
                               changed("\r\n=", 9, "=AAAA")}) {
    EXPECT_EQ(bob->DecryptText(readable), Outcome(0, long_text)) << readable;
  }
  EXPECT_EQ(bob->VerifyText(signed_text), "1 [alice@example.org] [] x");
  for (const auto& [option, value] :
       {std::pair("pgpMessageHeader", "a\nb"), std::pair("lookupKeyservers", "ftp://keys"),
        std::pair("noSuchOption", "")}) {
    EXPECT_THROW(alice->engine->SetOption(option, value), Error) << option;
  }
}

TEST_F(TextTest, KeysAreLockedUntilTheirPassphraseIsGiven) {
  const std::string armoured = Encrypted("x");
  const Outcome no_key(-13, "");
  bob->engine->InitEngine();
  EXPECT_EQ(bob->DecryptText(armoured), no_key);
  EXPECT_EQ(bob->engine->GetEngineLastError(),
            "The message is encrypted for bob@example.org, whose key is locked.");
  EXPECT_EQ(bob->SignText("x"), no_key);
  EXPECT_EQ(bob->engine->AuthenticateAccount("bob@example.org", "guess"), -4);
  EXPECT_EQ(bob->DecryptText(armoured), no_key);
  EXPECT_EQ(bob->engine->AuthenticateAccount("alice@example.org", "secret"), -13);
  bob->Unlock("BOB@example.org");
  EXPECT_EQ(bob->engine->AuthenticateAccount("bob@example.org", "guess"), -4);
  EXPECT_EQ(bob->DecryptText(armoured), Outcome(0, "x"))
      << "a wrong guess locks nothing that was unlocked";
  const platform::EngineAccount other{"alice@example.org"};
  EXPECT_EQ(bob->DecryptText(armoured, &other), no_key);
  EXPECT_EQ(bob->SignText("x", &other), no_key);
}

TEST_F(TextTest, APassphraseOpensOnlyThePartsOfAKeyThatAreItsOwn) {
  const Ffi ffi = MakeFfi();
  const auto key =
      GenerateKeyPair(ffi.get(), "carol@example.org", SecretString("signing"), 1U << 16);
  const auto subkey = Make<Key>(rnp_key_get_subkey_at, key.get(), std::size_t{0});
  rnp_key_unlock(subkey.get(), "signing");
  rnp_key_protect(subkey.get(), "reading", nullptr, nullptr, nullptr, 0);
  Profile carol;
  carol.Import(ExportSecret(key.get()));
  const auto armoured = carol.EncryptText(To({"carol@example.org"}), "x").second;
  for (const bool reads_first : {false, true}) {
    if (reads_first) {
      EXPECT_EQ(carol.DecryptText(armoured).first, -13);
    }
    EXPECT_EQ(carol.engine->AuthenticateAccount("carol@example.org", "guess"), -4);
    ASSERT_EQ(carol.engine->AuthenticateAccount("carol@example.org", "signing"), 0);
    EXPECT_EQ(carol.SignText("x").first, 0);
    EXPECT_EQ(carol.DecryptText(armoured).first, -13);
    ASSERT_EQ(carol.engine->AuthenticateAccount("carol@example.org", "reading"), 0);
    EXPECT_EQ(carol.DecryptText(armoured), Outcome(0, "x"));
    EXPECT_EQ(carol.SignText("x").first, -13);
    carol.engine->InitEngine();
  }
}

TEST_F(TextTest, EncryptsForAllRecipientsOrForNone) {
  const Outcome no_key(-13, "");
  EXPECT_EQ(alice->EncryptText(To({"bob@example.org", "carol@example.org"}), "x"), no_key);
  EXPECT_EQ(alice->engine->GetEngineLastError(), "No usable key for carol@example.org.");
  for (const auto* similar : {"bob@example.org.evil.net", "ob@example.org", "bob@example.or"}) {
    EXPECT_EQ(alice->EncryptText(To({similar}), "x"), no_key) << similar;
  }
  EXPECT_EQ(alice->EncryptText(To(), "x"), no_key);
  EXPECT_EQ(alice->EncryptText(To({"Bob@Example.org", "alice@example.org"}), "x").first, 0);
}

TEST_F(TextTest, HiddenRecipientsAreInNoPacketAndStillCanRead) {
  alice->engine->SetAnonymousMode(true);
  const auto armoured =
      alice->EncryptText(To({"alice@example.org", "bob@example.org"}), "x").second;
  const std::string binary = Dearmour(armoured);
  const auto start = ReadEncryptedMessageStart(binary);
  ASSERT_TRUE(start && start->session_keys.size() == 2);
  for (const auto& packet : start->session_keys) EXPECT_TRUE(IsHidden(binary, packet));
  for (auto* const profile : {alice, bob}) {
    EXPECT_EQ(profile->DecryptText(armoured), Outcome(0, "x"));
    profile->engine->InitEngine();
    EXPECT_EQ(profile->DecryptText(armoured), Outcome(-13, ""));
  }
}

TEST_F(TextTest, KeysAreNotTriedWithoutEnd) {
  const std::string binary = Dearmour(Encrypted("x"));
  const auto length = ReadEncryptedMessageStart(binary)->length;
  const auto repeated = [&](int times, bool hidden) {
    std::string message;
    for (int i = 0; i < times; ++i) message += binary.substr(0, length);
    message += binary.substr(length);
    EXPECT_TRUE(!hidden || HideRecipients(message));
    return InArmour(message);
  };
  const Outcome good(0, "x");
  EXPECT_EQ(bob->DecryptText(repeated(16, false)), good);
  EXPECT_EQ(bob->DecryptText(repeated(17, false)), Outcome(-3, ""));
  EXPECT_EQ(bob->engine->GetEngineLastError(),
            "The message is encrypted to the same key again and again.");
  EXPECT_EQ(bob->DecryptText(repeated(500, true)), good);
  EXPECT_EQ(bob->DecryptText(repeated(501, true)), Outcome(-3, ""));
  EXPECT_EQ(bob->engine->GetEngineLastError(),
            "The message hides too many recipients to try the keys on all of them.");
  EXPECT_EQ(alice->DecryptText(repeated(501, false)), Outcome(-13, "")) << "not one of her keys";
}

TEST_F(TextTest, WhatIsNoMessageOrIsDamagedGivesItsStatusAndNoText) {
  std::string text(256, '\0');
  for (int i = 0; i < 256; ++i) text[static_cast<std::size_t>(i)] = static_cast<char>(i * 7);
  const std::string good = Encrypted(text);
  const std::string binary = Dearmour(good);
  const auto flipped_at = [&](std::size_t at) {
    std::string flipped = good;
    flipped[at] = good[at] == 'A' ? 'B' : 'A';
    return flipped;
  };
  const auto content = ReadEncryptedMessageStart(binary)->length;
  const auto with_content = [&](const std::string& packet) {
    return InArmour(binary.substr(0, content) + packet);
  };
  const struct {
    const char* what;
    std::string text;
    EngineStatus status;
  } cases[] = {{"empty", "", -9},
               {"plain", "Hello -----BEGIN PGP MESSAGE-----", -9},
               {"no armour", binary, -9},
               {"a key", alice->PublicKeys("alice@example.org"), -9},
               {"a signed text", Signed("x"), -9},
               {"cut off", good.substr(0, 300), -3},
               {"flipped", flipped_at(good.size() / 2), -3},
               {"only its first line", "-----BEGIN PGP MESSAGE-----\r\n", -3},
               {"a signature as message", InArmour("\x88\x01\x04"), -3},
               {"no data", with_content(""), -3},
               {"cut off within", InArmour(binary.substr(0, binary.size() - 30)), -3},
               {"no integrity protection", with_content("\xc9" + binary.substr(content + 1)), -3},
               {"4 GiB claimed", with_content("\xd2\xff\xff\xff\xff\xff\x01x"), -3}};
  for (const auto& [what, input, status] : cases) {
    EXPECT_EQ(bob->DecryptText(input), Outcome(status, "")) << what;
  }
}

TEST_F(TextTest, TextsInCharsetsOfMailAreReadAndTheirSignaturesHold) {
  const auto usual_engine = std::exchange(alice->engine, alice->ReopenedDirectly().engine);
  alice->Unlock("alice@example.org");
  const struct {
    const char* charset;
    std::string bytes, text;
  } cases[] = {{"iso-8859-1", "Gr\xfc\xdf", "Grüß"},
               {"ISO-8859-2", "P\xf8\xed\xb9", "Příš"},
               {"iso-8859-3", "\xa1o", "Ħo"},
               {"iso-8859-4", "\xe0", "ā"},
               {"iso-8859-5", "\xbf\xe0\xd8\xd2\xd5\xe2", "Привет"},
               {"iso-8859-6", "\xe5\xd1", "مر"},
               {"iso-8859-7", "\xca\xe1\xeb\xe7", "Καλη"},
               {"iso-8859-8-i", "\xf9\xec\xe5\xed", "שלום"},
               {"iso-8859-9", "\xde\xfd", "Şı"},
               {"iso-8859-10", "\xe0", "ā"},
               {"iso-8859-11", "\xca\xc7\xd1", "สวั"},
               {"iso-8859-13", "\xe0\xe8i\xfb", "ąčiū"},
               {"iso-8859-14", "\xf0", "ŵ"},
               {"iso-8859-15", "\xa4 5", "€ 5"},
               {"iso-8859-16", "\xba\xfe", "șț"},
               {"windows-1250", "\x8a\x9e", "Šž"},
               {"cp1251", "\xcf\xf0\xe8", "При"},
               {"windows-1253", "\xc1\xa2", "ΑΆ"},
               {"windows-1254", "\xde\xfd\x80", "Şı€"},
               {"windows-1255", "\xf9\xec", "של"},
               {"windows-1256", "\xe3\xd1", "مر"},
               {"windows-1257", "\xe0\xe8", "ąč"},
               {"windows-1258", "\xfe", "₫"},
               {"koi8-r", "\xf0\xd2\xc9\xd7\xc5\xd4", "Привет"},
               {"KOI8-U", "\xf0\xd2\xc9\xd7\xa6\xd4", "Привіт"},
               {"gb2312", "\xc4\xe3\xba\xc3", "你好"},
               {"gbk", "\xc4\xe3\xba\xc3", "你好"},
               {"gb18030", "\xc4\xe3\xba\xc3", "你好"},
               {"big5", "\xa7\x41\xa6\x6e", "你好"},
               {"shift_jis", "\x93\xfa\x96\x7b", "日本"},
               {"euc-jp", "\xc6\xfc\xcb\xdc", "日本"},
               {"iso-2022-jp", "\x1b$BF|K\\\x1b(B", "日本"},
               {"euc-kr", "\xbe\xc8\xb3\xe7", "안녕"}};
  for (const auto& [charset, bytes, text] : cases) {
    bob->engine->SetDeclaredCharset(charset);
    EXPECT_EQ(bob->DecryptText(Encrypted(bytes)), Outcome(0, text)) << charset;
    // As the host has read the mail, whether it declares the charset or not.
    std::string block = Signed(bytes);
    block.replace(block.find(bytes), bytes.size(), text);
    EXPECT_EQ(bob->VerifyText(block), "1 [alice@example.org] [] " + text) << charset;
    bob->engine->SetDeclaredCharset("");
    EXPECT_EQ(bob->VerifyText(block), "1 [alice@example.org] [] " + text) << charset;
    std::string with_header = Encrypted(bytes);
    with_header.insert(with_header.find("\r\n") + 2, std::string("Charset: ") + charset + "\r\n");
    EXPECT_EQ(bob->DecryptText(with_header), Outcome(0, text)) << charset;
  }
  const std::string replaced =
      "[This text is in an unknown charset. Characters that cannot be read are shown as \uFFFD.]"
      "\r\n\r\n\uFFFD1 €\r\n";
  const std::pair<const char*, std::pair<std::string, std::string>> others[] = {
      {"utf-8", {"Gr\xfc\xdf", "Grüß"}},
      {"us-ascii", {"Grüß", "Grüß"}},
      {"iso-8859-1", {"Grüß", "Grüß"}},
      {"",
       {"Espa\xf1"
        "a",
        "España"}},
      {"big5", {"日本", "日本"}},
      {"utf-7", {"+AGE-", "+AGE-"}},
      {"", {"\xf0\xd2\xc9\xd7\xc5\xd4, \xcb\xc1\xcb \xc4\xc5\xcc\xc1?", "Привет, как дела?"}},
      {"windows-1252",
       {"\x81"
        "1 \x80\r\n",
        replaced}}};
  for (const auto& [charset, texts] : others) {
    bob->engine->SetDeclaredCharset(charset);
    EXPECT_EQ(bob->DecryptText(Encrypted(texts.first)), Outcome(0, texts.second)) << charset;
  }
  bob->engine->SetDeclaredCharset("");
  alice->engine = usual_engine;
}

TEST_F(TextTest, OnlyWhatWasSignedIsReturned) {
  const std::string good = Signed("one\n-two\nthree");
  const auto changed = [&](std::string_view from, std::string_view to) {
    std::string text = good;
    text.replace(text.find(from), from.size(), to);
    return text;
  };
  std::string unix_lines = good;
  std::erase(unix_lines, '\r');
  for (const auto& text : {good + "-- \nThe list's footer", good + Signed("second"),
                           "\r\n \n" + good, changed("one", "one \t"), unix_lines}) {
    EXPECT_EQ(bob->VerifyText(text), "1 [alice@example.org] [] one\r\n-two\r\nthree") << text;
  }
  for (const auto& text :
       {changed("one", "0ne"), changed("three", "three\r\n"), changed("- -two", "two")}) {
    EXPECT_EQ(bob->VerifyText(text), "0 [alice@example.org] [] ") << text;
    EXPECT_EQ(bob->engine->GetEngineLastError(),
              "The signature of alice@example.org does not fit the content.");
  }
  for (const auto& text :
       {"Pay 1000 to Mallory\r\n" + good, changed("Hash: SHA512", "Comment: Pay"),
        changed("Hash: SHA512", "Hash: SHA512\r\nPay 1000"), changed("- -two", "-two"),
        good.substr(0, good.find("-----BEGIN PGP SIGNATURE")),
        good.substr(0, good.find("-----END PGP SIGNATURE")),
        changed("-----BEGIN PGP SIGNATURE-----\r\n\r\nw",
                "-----BEGIN PGP SIGNATURE-----\r\n\r\nx")}) {
    EXPECT_EQ(bob->VerifyText(text), "-3 [] [] ") << text;
  }
  EXPECT_EQ(bob->VerifyText("Hello"), "-9 [] [] ");
  Profile stranger;
  EXPECT_EQ(stranger.VerifyText(good), "-13 [] [" + alice_key.substr(24) + "] ");
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
    return bob->DecryptText(EncryptedPackets(alice->PublicKeys("bob@example.org"), packets));
  };
  EXPECT_EQ(nested(5), Outcome(0, "x"));
  EXPECT_EQ(nested(40), Outcome(-3, ""));
  EXPECT_EQ(nested(2000), Outcome(-3, ""));

  const std::string bomb = Encrypted(std::string((256U << 20) + 1, '\0'));
  EXPECT_LT(bomb.size(), 4U << 20);
  bob->watched.clear();
  const std::string large = Encrypted(std::string(40U << 20, '\0'));
  EXPECT_TRUE(bob->DecryptText(large) == Outcome(-3, ""));
  EXPECT_EQ(bob->engine->GetEngineLastError(), "The text is too large: more than 33554432 bytes.");
  const auto file = bob->Write("bomb.pgp", bomb);
  EXPECT_EQ(bob->engine->DecryptFileEx(file, nullptr), -3);
  EXPECT_EQ(bob->engine->GetEngineLastError(),
            "The content is too large: more than 268435456 bytes.");
  EXPECT_TRUE(ContentOf(file) == bomb) << "the file was changed";
  EXPECT_EQ(bob->watched, std::vector<std::uint64_t>({Dearmour(large).size(), bomb.size()}));
}

}  // namespace
}  // namespace corvessa::engine
