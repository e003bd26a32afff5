#include "engine/gpg.h"

#include <gtest/gtest.h>
#include <regex>

#include "engine/profile.h"

namespace corvessa::engine {
namespace {

/// gpg holds gina's ed25519 and rita's RSA key, the engine alice's; both sides have all public
/// keys.
class GpgTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    gpg = new Gpg;
    alice = new Profile;
    alice->Generate("alice@example.org");
    gpg->Import(alice->PublicKeys("alice@example.org"));
    gpg->Generate("gina@example.org", "ed25519");
    gpg->Generate("rita@example.org", "rsa2048");
    alice->Import(gpg->Run("--armor --export gina@example.org rita@example.org"));
  }
  static void TearDownTestSuite() {
    delete alice;
    delete gpg;
  }
  void SetUp() override {
    ASSERT_EQ(alice->engine->AuthenticateAccount("alice@example.org", "secret"), 0);
  }

  static inline Gpg* gpg = nullptr;
  static inline Profile* alice = nullptr;
};

std::string TenMegabytes() {
  std::string text;
  while (text.size() < 10'000'000)
    text += std::to_string(text.size()) + std::string(90, 'x') + "\r\n";
  return text;
}

const std::vector<std::string>& Texts() {
  static const std::vector<std::string> texts = {
      "",
      "x",
      "-dash\r\n- item\r\n-----BEGIN PGP MESSAGE-----\r\n",
      "blanks  \t\r\n \r\n",
      "unix\nlines\n",
      "gr\xc3\xbc\xc3\x9f dich\r\n",
      TenMegabytes()};
  return texts;
}

/// What gpg covers of a text when it clear-signs: not the last line ending either.
std::string Covered(const std::string& text) {
  std::string covered;
  std::string line;
  const auto take_line = [&] {
    line.erase(line.find_last_not_of(" \t\r") + 1);
    covered += line;
    line.clear();
  };
  for (const char c : text) {
    if (c != '\n') {
      line += c;
      continue;
    }
    take_line();
    covered += "\r\n";
  }
  take_line();
  if (covered.ends_with("\r\n")) covered.erase(covered.size() - 2);
  return covered;
}

TEST_F(GpgTest, ReadsTheEnginesTextsAndTheReverse) {
  for (const auto& text : Texts()) {
    std::string armoured;
    ASSERT_EQ(
        alice->engine->EncryptText(To({"gina@example.org", "rita@example.org"}), text, armoured),
        0);
    EXPECT_TRUE(gpg->Run("--decrypt", armoured) == text) << gpg->said;

    for (const auto* options : {"--armor --encrypt", "--armor --encrypt -z 0",
                                "--armor --sign -u gina@example.org --encrypt",
                                "--armor --encrypt --hidden-recipient rita@example.org"}) {
      std::string plain;
      const std::string message =
          gpg->Run(std::string(options) + " --recipient alice@example.org", text);
      EXPECT_EQ(alice->engine->DecryptTextEx(message, nullptr, plain), 0)
          << options << alice->engine->GetEngineLastError();
      EXPECT_TRUE(plain == text) << options;
    }
  }
}

TEST_F(GpgTest, VerifiesTheEnginesClearSignaturesAndTheReverse) {
  for (const auto& text : Texts()) {
    std::string signed_text;
    ASSERT_EQ(alice->engine->SignText(text, nullptr, signed_text), 0);
    gpg->Run("--verify", signed_text);
    EXPECT_EQ(gpg->exit_code, 0) << gpg->said;
    for (const std::string signer : {"gina@example.org", "rita@example.org"}) {
      const Verified verified = VerifyText(
          *alice->engine, gpg->Run("--clear-sign --digest-algo SHA256 -u " + signer, text));
      EXPECT_EQ(verified.signers, std::vector{signer}) << alice->engine->GetEngineLastError();
      EXPECT_TRUE(verified.content == Covered(text)) << verified.content.substr(0, 100);
    }
  }
}

TEST_F(GpgTest, ExchangesFilesAndDetachedSignatures) {
  for (const std::string& content :
       {std::string(), std::string("\0\r\n", 3), std::string(300'000, 'x')}) {
    const auto plain = alice->Write("plain", content);
    const auto encrypted = (alice->folder / "encrypted").string();
    ASSERT_EQ(alice->engine->EncryptFileToFile(To({"rita@example.org"}), plain, encrypted), 0);
    EXPECT_TRUE(gpg->Run("--decrypt", ReadFile(encrypted)) == content) << gpg->said;
    for (const auto* options : {"", "--armor "}) {
      const auto message = alice->Write(
          "message", gpg->Run(std::string(options) + "--encrypt -r alice@example.org", content));
      EXPECT_EQ(alice->engine->DecryptFileEx(message, nullptr), 0)
          << alice->engine->GetEngineLastError();
      EXPECT_TRUE(ReadFile(message) == content);

      const auto signature = alice->Write(
          "sig", gpg->Run(std::string(options) + "--detach-sign -u rita@example.org", content));
      EXPECT_EQ(VerifyFile(*alice->engine, plain, signature),
                (Verified{1, {"rita@example.org"}, {}, ""}));
    }
    std::string signature;
    ASSERT_EQ(alice->engine->SignFile(plain, signature), 0);
    gpg->Run("--verify " + signature + " " + plain);
    EXPECT_EQ(gpg->exit_code, 0) << gpg->said;
  }
}

TEST_F(GpgTest, ReadsTheEnginesHiddenRecipients) {
  alice->engine->SetAnonymousMode(true);
  std::string armoured;
  const auto status =
      alice->engine->EncryptText(To({"gina@example.org", "rita@example.org"}), "x", armoured);
  alice->engine->SetAnonymousMode(false);
  ASSERT_EQ(status, 0);
  EXPECT_EQ(gpg->Run("--decrypt", armoured), "x") << gpg->said;
  const std::string packets = gpg->Run("--list-packets --list-only", armoured);
  EXPECT_EQ(packets.find("keyid 0000000000000000") == std::string::npos, false) << packets;
}

TEST_F(GpgTest, SignsAndDecryptsWithGpgsSecretKeys) {
  Profile other;
  other.Import(alice->PublicKeys("alice@example.org"));
  for (const std::string address : {"gina@example.org", "rita@example.org"}) {
    other.Import(gpg->Run("--armor --export-secret-keys " + address));
    EXPECT_EQ(other.engine->AuthenticateAccount(address, "guess"), -4);
    EXPECT_EQ(other.engine->AuthenticateAccount(address, "secret"), 0)
        << other.engine->GetEngineLastError();
    std::string signed_text;
    EXPECT_EQ(other.engine->SignText("x", nullptr, signed_text), 0);
    EXPECT_EQ(VerifyText(*alice->engine, signed_text), (Verified{1, {address}, {}, "x"}));
    for (const auto* option : {"--recipient ", "--hidden-recipient "}) {
      std::string plain;
      const std::string message = gpg->Run("--armor --encrypt " + (option + address), "x");
      EXPECT_EQ(other.engine->DecryptTextEx(message, nullptr, plain), 0);
      EXPECT_EQ(plain, "x");
    }
  }
  Gpg elsewhere;
  elsewhere.Import(alice->SecretKeys("alice@example.org"));
  std::string armoured;
  ASSERT_EQ(alice->engine->EncryptText(To({"alice@example.org"}), "x", armoured), 0);
  EXPECT_EQ(elsewhere.Run("--decrypt", armoured), "x") << elsewhere.said;
}

TEST_F(GpgTest, ExpiredAndRevokedKeysAreOfNoUse) {
  gpg->Generate("expired@example.org", "ed25519", "1d", "--faked-system-time 20200101T000000!");
  gpg->Generate("revoked@example.org", "ed25519");
  const std::string by_expired =
      gpg->Run("--faked-system-time 20200101T100000! --clear-sign -u expired@example.org", "x");
  const std::string by_revoked = gpg->Run("--clear-sign -u revoked@example.org", "x");
  const std::string expired_signature = gpg->Run(
      "--faked-system-time 20300101T100000! --clear-sign --default-sig-expire 1d "
      "-u rita@example.org",
      "x");
  gpg->Revoke("revoked@example.org");
  alice->Import(gpg->Run("--export expired@example.org revoked@example.org"));
  for (const auto* address : {"expired@example.org", "revoked@example.org"}) {
    std::string text;
    EXPECT_EQ(alice->engine->QueryKeyPair(address, text), -13) << address;
    EXPECT_EQ(alice->engine->EncryptText(To({address}), "x", text), -13) << address;
  }
  EXPECT_EQ(VerifyText(*alice->engine, by_expired), (Verified{-6, {}, {}, ""}));
  EXPECT_EQ(VerifyText(*alice->engine, by_revoked), (Verified{-6, {}, {}, ""}));
  EXPECT_EQ(VerifyText(*alice->engine, expired_signature), (Verified{-10, {}, {}, ""}));
}

TEST_F(GpgTest, TheNewestUsableSubkeyIsTaken) {
  gpg->Generate("subs@example.org", "ed25519", "never", "--faked-system-time 20210101T000000!");
  const std::string fingerprint = gpg->Fingerprint("subs@example.org");
  gpg->Run("--faked-system-time 20220101T000000! --quick-add-key " + fingerprint +
           " cv25519 encr never");
  gpg->Run("--faked-system-time 20220101T000000! --quick-add-key " + fingerprint +
           " ed25519 sign never");
  gpg->Run("--faked-system-time 20230101T000000! --quick-add-key " + fingerprint +
           " cv25519 encr 1d");
  alice->Import(gpg->Run("--export subs@example.org"));
  std::string armoured;
  ASSERT_EQ(alice->engine->EncryptText(To({"subs@example.org"}), "x", armoured), 0);
  EXPECT_EQ(gpg->Run("--decrypt", armoured), "x");
  std::smatch
      subkey;  // the encryption subkey made on 2022-01-01, not the first and not the expired
  const std::string subkeys = gpg->Run("--with-colons --list-keys subs@example.org");
  ASSERT_TRUE(std::regex_search(subkeys, subkey,
                                std::regex("sub:[^:]*:255:18:([0-9A-F]{16}):1640995200:")));
  const std::string packets = gpg->Run("--list-packets --list-only", armoured);
  EXPECT_NE(packets.find("keyid " + subkey.str(1)), std::string::npos) << packets;
  EXPECT_EQ(VerifyText(*alice->engine, gpg->Run("--clear-sign -u subs@example.org", "x")),
            (Verified{1, {"subs@example.org"}, {}, "x"}));
}

}  // namespace
}  // namespace corvessa::engine
