#include <filesystem>
#include <gtest/gtest.h>
#include <random>

#include "engine/armour.h"
#include "engine/profile.h"

namespace corvessa::engine {
namespace {

std::string RandomBytes(std::size_t size, unsigned seed) {
  std::mt19937_64 random(seed);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

class FileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    alice.Generate("alice@example.org");
    alice.Unlock("alice@example.org");
  }

  platform::EngineStatus Encrypt(const std::string& from, const std::string& to) {
    return alice.engine->EncryptFileToFile(To({"alice@example.org"}), from, to);
  }
  platform::EngineStatus Decrypt(const std::string& path) {
    return alice.engine->DecryptFileEx(path, nullptr);
  }

  Profile alice;
};

TEST_F(FileTest, EncryptsAndDecryptsInPlaceEverySizeAlsoHiddenAndArmoured) {
  for (const bool anonymous : {false, true}) {
    alice.engine->SetAnonymousMode(anonymous);
    for (const std::size_t size : {0, 1, 1000, 3'000'000}) {
      const std::string content = RandomBytes(size, 1);
      const auto plain = alice.Write("plain", content);
      const auto encrypted = (alice.folder / "encrypted").string();
      ASSERT_EQ(Encrypt(plain, encrypted), 0) << alice.engine->GetEngineLastError();
      const auto armoured =
          alice.Write("armoured", "\r\n" + Armour(ContentOf(encrypted), "message", "1"));
      std::filesystem::permissions(encrypted, std::filesystem::perms(0640));
      const auto permissions = std::filesystem::status(encrypted).permissions();
      for (const auto& path : {encrypted, armoured}) {
        EXPECT_EQ(Decrypt(path), 0) << alice.engine->GetEngineLastError();
        EXPECT_TRUE(ContentOf(path) == content) << size;
      }
      EXPECT_EQ(std::filesystem::status(encrypted).permissions(), permissions);
    }
  }
}

TEST_F(FileTest, NothingChangesOnceTheCallerHasGivenUp) {
  const auto plain = alice.Write("plain", "data");
  const auto encrypted = (alice.folder / "encrypted").string();
  ASSERT_EQ(Encrypt(plain, encrypted), 0);
  const std::string content = ContentOf(encrypted);
  const auto names = Names(alice.folder.Path());
  alice.may_commit = false;
  EXPECT_EQ(Decrypt(encrypted), -11);
  EXPECT_TRUE(ContentOf(encrypted) == content);
  EXPECT_EQ(Encrypt(plain, encrypted + "2"), -11);
  EXPECT_EQ(alice.SignFile(plain).first, -11);
  KeyInfo made;
  EXPECT_EQ(alice.upkeep->GenerateKey("", "bob@example.org", "secret", made), -11);
  EXPECT_EQ(alice.upkeep->RemoveKeys("alice@example.org"), -11);
  EXPECT_EQ(Names(alice.folder.Path()), names);
  EXPECT_EQ(alice.QueryKeyPair("bob@example.org"), -13);
  EXPECT_EQ(alice.QueryKeyPair("alice@example.org"), 0);
}

TEST_F(FileTest, OrdinaryFilesAreNoEncryptedFiles) {
  const std::string key = alice.PublicKeys("alice@example.org");
  const std::string signature = ContentOf(alice.SignFile(alice.Write("plain", "x")).second);
  std::vector<std::string> contents = {
      "",
      "Hello\n",
      "%PDF-1.7\n%\xe2\xe3\xcf\xd3\n",
      "PK\x03\x04\x14",
      "\xff\xd8\xff\xe0\x10JFIF",
      "\x89PNG\r\n\x1a\n",
      key,
      Dearmour(key),
      alice.SecretKeys("alice@example.org"),
      signature,
      Dearmour(signature),
      alice.SignText("x").second,
      "-----BEGIN PGP MESSAGE-----\r\n\r\nnot base64 at all!\r\n-----END PGP MESSAGE-----\r\n",
      Armour("\xcb\x06"
             "b\x00\x00\x00\x00\x00",
             "message", {}),
      "Look:\n" + Armour(std::string("\x84\x0c", 2), "message", {})};
  for (unsigned seed = 0; seed < 500; ++seed) {
    std::string bytes = RandomBytes(300, seed);
    bytes[0] = static_cast<char>(0x80 | seed);
    contents.push_back(bytes);
  }
  for (const auto& content : contents) {
    const auto path = alice.Write("ordinary", content);
    ASSERT_EQ(Decrypt(path), -9) << content;
    ASSERT_TRUE(ContentOf(path) == content);
  }
}

TEST_F(FileTest, FailuresLeaveEveryFileAsItWas) {
  const auto plain = alice.Write("plain", RandomBytes(300'000, 1));
  const auto good = (alice.folder / "good").string();
  ASSERT_EQ(Encrypt(plain, good), 0);
  std::string damaged = ContentOf(good);
  damaged[200'000] = static_cast<char>(damaged[200'000] ^ 1);
  const auto path = alice.Write("damaged", "");
  const auto names = Names(alice.folder.Path());
  for (const auto& content : {damaged, damaged.substr(0, 100'000)}) {
    alice.Write("damaged", content);
    EXPECT_EQ(Decrypt(path), -3);
    EXPECT_TRUE(ContentOf(path) == content);
  }
  alice.engine->InitEngine();
  EXPECT_EQ(Decrypt(good), -13);
  const auto absent = (alice.folder / "absent").string();
  EXPECT_EQ(Decrypt(absent), -8);
  // The reason is in the system's own words.
  EXPECT_EQ(alice.engine->GetEngineLastError().find("Cannot open " + absent + ": "), 0U);
  EXPECT_EQ(alice.engine->EncryptFileToFile(To({"nobody@example.org"}), plain, absent), -13);
  EXPECT_EQ(Encrypt(absent, good + "2"), -8);
  EXPECT_EQ(Encrypt(plain, absent + "/in/no/folder"), -8);
  EXPECT_EQ(alice.SignFile(plain), Outcome(-13, ""));
  EXPECT_EQ(alice.SignFile(absent), Outcome(-8, ""));
  EXPECT_EQ(Names(alice.folder.Path()), names);
}

TEST_F(FileTest, SignsAndVerifiesFiles) {
  const auto plain = alice.Write("plain", std::string("\0\r\n \n", 5));
  const auto other = alice.Write("other", "y");
  const auto signature = alice.SignFile(plain).second;
  const std::string armoured = ContentOf(signature);
  const std::string binary = Dearmour(armoured);
  const std::string of_other = Dearmour(ContentOf(alice.SignFile(other).second));
  struct Case {
    std::string file;
    std::string signature;
    std::string verified;
  };
  const std::string good = "1 [alice@example.org] []";
  const std::string bad = "0 [alice@example.org] []";
  for (const auto& [file, content, verified] :
       {Case{plain, armoured, good}, Case{plain, binary, good}, Case{plain, binary + binary, good},
        Case{other, armoured, bad}, Case{plain, binary + of_other, bad},
        Case{plain, of_other + binary, bad}, Case{plain, "x", "-9 [] []"},
        Case{plain, armoured.substr(0, 90), "-3 [] []"}}) {
    EXPECT_EQ(alice.VerifyFile(file, alice.Write("signature", content)), verified) << content;
  }
  EXPECT_EQ(alice.VerifyFile(plain, plain + "?"), "-8 [] []");
}

TEST_F(FileTest, AFileIsASignatureOnlyWhenItHoldsNothingElse) {
  // Between them: lengths and content of the signed and the unsigned part.
  const auto signature = [](std::string head, std::string numbers) {
    return head + std::string("\0\3\2\x10z\0\0\x12\x34", 9) + numbers;
  };
  const std::string rsa = signature({"\4\0\1\x08", 4}, {"\0\x0C\x0F\xFF", 4});
  const std::string eddsa = signature({"\4\1\x16\x08", 4}, {"\0\1\1\0\2\2", 6});
  const std::string ed25519 = signature({"\4\0\x1B\x08", 4}, std::string(64, 'v'));
  const std::string old("\3\5\0timekeyident\1\2ab\0\1\1", 22);
  const std::string salted("\6\0\1\x08\0\0\0\0\0\0\0\0ab\2sa\0\1\1", 20);
  const auto length = [](const std::string& body) { return static_cast<char>(body.size()); };
  const auto packet = [&](const std::string& body) { return "\x88" + (length(body) + body); };
  const std::string large = std::string("\xC2\xC0\x10\4\0\1\x08\0\xC3\xC0\1", 11) +
                            std::string(193, 'n') + std::string("\0\0\x12\x34\0\1\1", 7);
  const std::string begin = "-----BEGIN PGP SIGNATURE-----\r\n";
  const std::string end = "-----END PGP SIGNATURE-----";
  const std::string block = Armour(packet(rsa), "signature", "x");
  const std::string lines = block.substr(block.find("\r\n\r\n"));
  const std::vector<std::string> signatures = {
      block,
      "\r\n" + block + "\n",
      Armour(packet(rsa), "signature", {}),
      begin + "Version:\r\nComment: \r\nHash: SHA256\r\nMessageID: 1\r\nCharset: x" + lines,
      packet(eddsa) + packet(ed25519) + packet(old) + packet(salted),
      large,
      std::string("\x89\0", 2) + length(rsa) + rsa,
      std::string("\x8A\0\0\0", 4) + length(rsa) + rsa,
      std::string("\xC2\xFF\0\0\0", 5) + length(rsa) + rsa};
  const std::vector<std::string> others = {block + "and a secret",
                                           "a secret\r\n" + block,
                                           block + block,
                                           begin + "A: secret" + lines,
                                           begin + "\r\nU0VDUkVU\r\n" + end,
                                           Armour(packet(rsa) + "x", "signature", {}),
                                           "a secret",
                                           "",
                                           packet(rsa) + "x",
                                           packet(rsa + "x"),
                                           packet(rsa.substr(0, rsa.size() - 1)),
                                           packet(rsa.substr(0, rsa.size() - 4) + "secret"),
                                           packet("\4" + rsa.substr(2)),
                                           packet(std::string("\4\x10", 2) + rsa.substr(2)),
                                           "\xC2\x0A\4SECRET123",
                                           "\xC2\xA7 12 says a secret"};
  const std::string damaged = begin + "\r\na secret\r\n" + end;
  std::string hiding = block;
  hiding.insert(hiding.find("\r\n-----END"), " a secret");
  for (const auto& [contents, verified] :
       {std::pair(signatures, "-10 [] []"), std::pair(others, "-9 [] []"),
        std::pair(std::vector{damaged}, "-3 [] []")}) {
    for (const auto& content : contents) {
      EXPECT_EQ(alice.VerifyFile("", alice.Write("signature", content)), verified) << content;
    }
  }
}

TEST_F(FileTest, AdditionalDecryptionAddressesComeFromTheirFile) {
  const auto adks = [&](std::string_view who) {
    To found;
    EXPECT_EQ(alice.engine->GetRecipientADKs(who, found), 0);
    return found.items;
  };
  using Addresses = std::vector<std::string>;
  EXPECT_EQ(adks("alice@example.org"), Addresses());
  alice.Write("adks.txt",
              "# escrow\r\n\r\nexample.org: vault@example.org, Second@Example.org\r\n"
              "alice@example.org : boss@example.org,vault@example.org\n");
  EXPECT_EQ(adks("Alice@example.org"),
            (Addresses{"vault@example.org", "second@example.org", "boss@example.org"}));
  EXPECT_EQ(adks("example.org"), (Addresses{"vault@example.org", "second@example.org"}));
  EXPECT_EQ(adks("bob@sub.example.org"), Addresses());
  const auto file = alice.Write("adks.txt", "example.org: vault@example.org\nexample.net vault\n");
  To none;
  EXPECT_EQ(alice.engine->GetAddressADKs("x@example.com", none), -9);
  EXPECT_EQ(alice.engine->GetEngineLastError(),
            "Line 2 of " + file + " is not \"address: address, …\".");
}

}  // namespace
}  // namespace corvessa::engine
