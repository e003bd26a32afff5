#include <filesystem>
#include <gtest/gtest.h>
#include <random>

#include "base/error.h"
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
  static void SetUpTestSuite() {
    alice = new Profile;
    alice->Generate("alice@example.org");
  }
  static void TearDownTestSuite() { delete alice; }
  void SetUp() override {
    ASSERT_EQ(alice->engine->AuthenticateAccount("alice@example.org", "secret"), 0);
    before = Names(alice->folder.Path());
  }
  void TearDown() override { alice->engine->InitEngine(); }

  static platform::EngineStatus Encrypt(const std::string& from, const std::string& to) {
    return alice->engine->EncryptFileToFile(To({"alice@example.org"}), from, to);
  }

  static inline Profile* alice = nullptr;
  std::vector<std::string> before;
};

TEST_F(FileTest, EncryptsAndDecryptsInPlaceEverySizeAlsoHiddenAndArmoured) {
  for (const bool anonymous : {false, true}) {
    alice->engine->SetAnonymousMode(anonymous);
    for (const std::size_t size : {0, 1, 1000, 3'000'000}) {
      const std::string content = RandomBytes(size, 1);
      const auto plain = alice->Write("plain", content);
      const auto encrypted = (alice->folder / "encrypted").string();
      ASSERT_EQ(Encrypt(plain, encrypted), 0) << alice->engine->GetEngineLastError();
      const auto armoured =
          alice->Write("armoured", "\r\n" + Armour(ReadFile(encrypted), "message", "1"));
      std::filesystem::permissions(encrypted, std::filesystem::perms(0640));
      for (const auto& path : {encrypted, armoured}) {
        EXPECT_EQ(alice->engine->DecryptFileEx(path, nullptr), 0)
            << alice->engine->GetEngineLastError();
        EXPECT_TRUE(ReadFile(path) == content) << size;
      }
      EXPECT_EQ(std::filesystem::status(encrypted).permissions(), std::filesystem::perms(0640));
    }
  }
  alice->engine->SetAnonymousMode(false);
}

TEST_F(FileTest, OrdinaryFilesAreNoEncryptedFiles) {
  std::string signed_text;
  ASSERT_EQ(alice->engine->SignText("x", nullptr, signed_text), 0);
  const auto plain = alice->Write("plain", "x");
  std::string signature;
  ASSERT_EQ(alice->engine->SignFile(plain, signature), 0);
  std::vector<std::string> contents = {
      "",
      "Hello\n",
      "%PDF-1.7\n%\xe2\xe3\xcf\xd3\n",
      "PK\x03\x04\x14",
      "\xff\xd8\xff\xe0\x10JFIF",
      "\x89PNG\r\n\x1a\n",
      alice->PublicKeys("alice@example.org"),
      Dearmour(alice->PublicKeys("alice@example.org")),
      alice->SecretKeys("alice@example.org"),
      ReadFile(signature),
      Dearmour(ReadFile(signature)),
      signed_text,
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
    const auto path = alice->Write("ordinary", content);
    ASSERT_EQ(alice->engine->DecryptFileEx(path, nullptr), -9) << content;
    ASSERT_TRUE(ReadFile(path) == content);
  }
  std::filesystem::remove(alice->folder / "ordinary");
}

TEST_F(FileTest, FailuresLeaveEveryFileAsItWas) {
  const auto plain = alice->Write("plain", RandomBytes(300'000, 1));
  const auto good = (alice->folder / "good").string();
  ASSERT_EQ(Encrypt(plain, good), 0);
  std::string damaged = ReadFile(good);
  damaged[200'000] = static_cast<char>(damaged[200'000] ^ 1);
  const auto names = Names(alice->folder.Path());
  for (const auto& content : {damaged, ReadFile(good).substr(0, 100'000)}) {
    const auto path = alice->Write("damaged", content);
    EXPECT_EQ(alice->engine->DecryptFileEx(path, nullptr), -3);
    EXPECT_TRUE(ReadFile(path) == content);
    std::filesystem::remove(path);
  }
  alice->engine->InitEngine();
  EXPECT_EQ(alice->engine->DecryptFileEx(good, nullptr), -13);
  const auto absent = (alice->folder / "absent").string();
  EXPECT_EQ(alice->engine->DecryptFileEx(absent, nullptr), -8);
  EXPECT_EQ(alice->engine->GetEngineLastError(),
            "Cannot open " + absent + ": No such file or directory.");
  EXPECT_EQ(alice->engine->EncryptFileToFile(To({"nobody@example.org"}), plain, absent), -13);
  EXPECT_EQ(Encrypt(absent, good + "2"), -8);
  EXPECT_EQ(Encrypt(plain, absent + "/in/no/folder"), -8);
  std::string signature = "untouched";
  EXPECT_EQ(alice->engine->SignFile(plain, signature), -13);
  EXPECT_EQ(alice->engine->SignFile(absent, signature), -8);
  EXPECT_EQ(signature, "untouched");
  EXPECT_EQ(Names(alice->folder.Path()), names);
}

TEST_F(FileTest, SignsAndVerifiesFiles) {
  const auto plain = alice->Write("plain", std::string("\0\r\n \n", 5));
  std::string signature;
  ASSERT_EQ(alice->engine->SignFile(plain, signature), 0);
  const Verified good{1, {"alice@example.org"}, {}, ""};
  EXPECT_EQ(VerifyFile(*alice->engine, plain, signature), good);
  const auto binary = alice->Write("binary.sig", Dearmour(ReadFile(signature)));
  EXPECT_EQ(VerifyFile(*alice->engine, plain, binary), good);
  const auto both = alice->Write("both.sig", Dearmour(ReadFile(signature)) + ReadFile(binary));
  EXPECT_EQ(VerifyFile(*alice->engine, plain, both), good);

  const auto other = alice->Write("other", "y");
  std::string other_signature;
  ASSERT_EQ(alice->engine->SignFile(other, other_signature), 0);
  const Verified bad{0, {"alice@example.org"}, {}, ""};
  EXPECT_EQ(VerifyFile(*alice->engine, other, signature), bad);
  const auto mixed = alice->Write(
      "mixed.sig", Dearmour(ReadFile(signature)) + Dearmour(ReadFile(other_signature)));
  EXPECT_EQ(VerifyFile(*alice->engine, plain, mixed), bad) << "one bad signature is enough";
  EXPECT_EQ(VerifyFile(*alice->engine, plain, plain), (Verified{-9, {}, {}, ""}));
  EXPECT_EQ(VerifyFile(*alice->engine, plain, plain + "?"), (Verified{-8, {}, {}, ""}));
  EXPECT_EQ(VerifyFile(*alice->engine, plain, alice->Write("s", ReadFile(signature).substr(0, 90))),
            (Verified{-3, {}, {}, ""}));
}

TEST_F(FileTest, AdditionalDecryptionAddressesComeFromTheirFile) {
  const auto adks = [&](std::string_view who) {
    testing::ScriptedStringVector found;
    EXPECT_EQ(alice->engine->GetRecipientADKs(who, found), 0);
    return found.items;
  };
  using Addresses = std::vector<std::string>;
  EXPECT_EQ(adks("alice@example.org"), Addresses());
  alice->Write("adks.txt",
               "# escrow\r\n\r\nexample.org: vault@example.org, Second@Example.org\r\n"
               "alice@example.org : boss@example.org,vault@example.org\n");
  EXPECT_EQ(adks("Alice@example.org"),
            (Addresses{"vault@example.org", "second@example.org", "boss@example.org"}));
  EXPECT_EQ(adks("example.org"), (Addresses{"vault@example.org", "second@example.org"}));
  EXPECT_EQ(adks("bob@sub.example.org"), Addresses());
  const auto file = alice->Write("adks.txt", "example.org: vault@example.org\nexample.net vault\n");
  testing::ScriptedStringVector none;
  EXPECT_EQ(alice->engine->GetAddressADKs("x@example.com", none), -9);
  EXPECT_EQ(alice->engine->GetEngineLastError(),
            "Line 2 of " + file + " is not \"address: address, …\".");
  std::filesystem::remove(file);
}

TEST_F(FileTest, APathThatTheHostRefusesIsAFileError) {
  EngineConfig config;
  config.rings_folder = alice->folder / "keys";
  config.local_path = [](std::string_view) -> std::filesystem::path {
    Raise(kPathNotFound, "There is no drive Q.");
  };
  const auto engine = CreateOpenPgpEngine(config);
  EXPECT_EQ(engine->DecryptFileEx("Q:\\x", nullptr), -8);
  EXPECT_EQ(engine->GetEngineLastError(), "There is no drive Q.");
}

}  // namespace
}  // namespace corvessa::engine
