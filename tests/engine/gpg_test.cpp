#include "support/gpg.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <regex>

#include "base/text.h"
#include "engine/key_facts.h"
#include "engine/profile.h"
#include "engine/rnp_handles.h"

namespace corvessa::engine {
namespace {

const std::vector<std::string> kPeers = {"gina@example.org", "rita@example.org"};

/// gpg holds gina's ed25519 and rita's RSA key, the engine alice's; both sides have all public
/// keys.
class GpgTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    gpg = new testing::Gpg;
    alice = new Profile;
    alice->Generate("alice@example.org");
    gpg->Import(alice->PublicKeys("alice@example.org"));
    gpg->Generate("gina@example.org", "ed25519");
    gpg->Generate("rita@example.org", "rsa2048");
    alice->Import(gpg->Make("--armor --export gina@example.org rita@example.org"));
  }
  static void TearDownTestSuite() {
    delete alice;
    delete gpg;
  }
  void SetUp() override { alice->Unlock("alice@example.org"); }
  void TearDown() override { alice->engine->SetAnonymousMode(false); }

  static std::string ClearSigned(const std::string& options) {
    return gpg->Make(options + " --clear-sign", "x");
  }

  static inline testing::Gpg* gpg = nullptr;
  static inline Profile* alice = nullptr;
};

std::string TenMegabytes() {
  std::string text;
  while (text.size() < 10'000'000)
    text += std::to_string(text.size()) + std::string(90, 'x') + "\r\n";
  return text;
}

/// Texts, and what of them a clear signature covers.
const std::vector<std::pair<std::string, std::string>>& Texts() {
  static const std::vector<std::pair<std::string, std::string>> texts = {
      {"", ""},
      {"a", "a"},
      {"a\n", "a\r\n"},
      {"\r\n", "\r\n"},
      {"unix\nlines\n\n", "unix\r\nlines\r\n\r\n"},
      {"blanks \t\r\n \t\r\nend  ", "blanks\r\n\r\nend"},
      {"-dash\n- item\n-- \n-", "-dash\r\n- item\r\n--\r\n-"},
      {"-----BEGIN PGP SIGNATURE-----\nFrom x", "-----BEGIN PGP SIGNATURE-----\r\nFrom x"},
      {"gr\xc3\xbc\xc3\x9f", "gr\xc3\xbc\xc3\x9f"},
      {TenMegabytes(), TenMegabytes()}};
  return texts;
}

void ExpectSame(const std::string& text, const std::string& wanted, const std::string& what) {
  EXPECT_TRUE(text == wanted) << what << ": " << text.substr(0, 100);
}

TEST_F(GpgTest, TextsOfTheTimeBeforeUtf8AreReadAndTheirSignaturesHold) {
  static const std::string kJapanese = "\x1b$BF|K\\8l\x1b(B, \x1b$BF|\x1b(B";
  const struct {
    std::string bytes, text, decrypted;
  } cases[] = {{"gr\xfc\xdf\x80", "grüß€", "grüß€"},
               {"\xa4 5", "€ 5", "¤ 5"},
               {kJapanese, "日本語, 日", "日本語, 日"}};
  std::string block;
  for (const auto& c : cases) {
    EXPECT_TRUE(alice->DecryptText(gpg->Make("--armor --encrypt -r alice@example.org", c.bytes)) ==
                Outcome(0, c.decrypted))
        << c.text;
    // As its mail program hands it on, which knows the charset.
    block = gpg->Make("--clear-sign -u gina@example.org", c.bytes);
    block.replace(block.find(c.bytes), c.bytes.size(), c.text);
    EXPECT_EQ(alice->VerifyText(block), "1 [gina@example.org] [] " + c.text);
    block.insert(block.find(c.text), "x");
    EXPECT_TRUE(alice->VerifyText(block).starts_with("0 ")) << c.text;
  }
  for (const std::string no_japanese : {"\x1b[31mred", "\x1b$BF|ü"}) {
    EXPECT_TRUE(alice->DecryptText(gpg->Make("--armor --encrypt -r alice@example.org",
                                             no_japanese)) == Outcome(0, no_japanese));
  }
  // A label that makes another text of what was signed takes its signature from it.
  std::string relabelled = gpg->Make("--clear-sign -u gina@example.org", "gr\xc3\xbc");
  relabelled.replace(relabelled.find("\xc3\xbc"), 2, "\xc3\x83\xc2\xbc");
  EXPECT_TRUE(alice->VerifyText(relabelled).starts_with("0 "));
}

TEST_F(GpgTest, ReadsTheEnginesTextsAndTheReverse) {
  std::vector<std::string> texts;
  for (const auto& [text, signed_as] : Texts()) texts.push_back(text);
  for (const auto& text : texts) {
    for (const auto& reader : kPeers) {
      const auto [status, armoured] = alice->EncryptText(To({"alice@example.org", reader}), text);
      ASSERT_EQ(status, 0);
      ExpectSame(gpg->Run("--decrypt", armoured), text, reader + gpg->said);
      EXPECT_TRUE(alice->DecryptText(armoured) == Outcome(0, text));
    }
    for (const std::string options :
         {"--encrypt", "--encrypt -z 0", "--encrypt --hidden-recipient rita@example.org"}) {
      const std::string message =
          gpg->Make("--armor " + options + " --recipient alice@example.org", text);
      EXPECT_TRUE(alice->DecryptText(message) == Outcome(0, text)) << options;
    }
  }
  alice->engine->SetAnonymousMode(true);
  const auto hidden = alice->EncryptText(To(kPeers), "x").second;
  EXPECT_EQ(gpg->Run("--decrypt", hidden), "x") << gpg->said;
  const std::string packets = gpg->Run("--list-packets --list-only", hidden);
  const std::string hidden_id = "keyid 0000000000000000";
  EXPECT_LT(packets.find(hidden_id), packets.rfind(hidden_id)) << packets;
}

TEST_F(GpgTest, VerifiesTheEnginesClearSignaturesAndTheReverse) {
  for (const auto& [text, signed_as] : Texts()) {
    const std::string by_engine = alice->SignText(text).second;
    gpg->Make("--verify", by_engine);
    ExpectSame(alice->VerifyText(by_engine), "1 [alice@example.org] [] " + signed_as, text);
    // gpg's own signatures leave the last line ending out.
    std::string by_gpg = signed_as;
    if (by_gpg.ends_with("\r\n")) by_gpg.resize(by_gpg.size() - 2);
    for (const auto& signer : kPeers) {
      const std::string made = gpg->Make("--clear-sign --digest-algo SHA256 -u " + signer, text);
      ExpectSame(alice->VerifyText(made), "1 [" + signer + "] [] " + by_gpg, text);
    }
  }
  EXPECT_EQ(alice->VerifyText(alice->SignText("a\r\rb").second),
            "1 [alice@example.org] [] a\r\n\r\nb");
}

TEST_F(GpgTest, ExchangesFilesAndDetachedSignatures) {
  for (const std::string& content :
       {std::string(), std::string("\0\r\n", 3), std::string(300'000, 'x')}) {
    const auto plain = alice->Write("plain", content);
    const auto encrypted = (alice->folder / "encrypted").string();
    ASSERT_EQ(alice->engine->EncryptFileToFile(To({"rita@example.org"}), plain, encrypted), 0);
    ExpectSame(gpg->Run("--decrypt", ContentOf(encrypted)), content, gpg->said);
    for (const std::string armour : {"", "--armor "}) {
      for (const std::string sign : {"", "--sign -u rita@example.org "}) {
        const auto message = alice->Write(
            "message", gpg->Make(armour + sign + "--encrypt -r alice@example.org", content));
        bool is_signed = sign.empty();
        EXPECT_EQ(alice->engine->DecryptSignedFile(message, nullptr, is_signed), 0);
        ExpectSame(ContentOf(message), content, armour);
        EXPECT_EQ(is_signed, !sign.empty());
        EXPECT_EQ(alice->VerifyFile(message, ""),
                  is_signed ? "1 [rita@example.org] []" : "-9 [] []");
      }
      const auto signature =
          alice->Write("sig", gpg->Make(armour + "--detach-sign -u rita@example.org", content));
      EXPECT_EQ(alice->VerifyFile(plain, signature), "1 [rita@example.org] []");
    }
    gpg->Make("--verify " + testing::ShellPath(alice->SignFile(plain).second) + " " +
              testing::ShellPath(plain));
  }
}

TEST_F(GpgTest, ReadsAMessageToAHundredRecipientsAndALargeFile) {
  const Ffi ffi = MakeFfi();
  To all(kPeers);
  std::string keys;
  while (all.items.size() < 100) {
    all.Add("user" + std::to_string(all.items.size()) + "@example.org");
    const auto key =
        Make<Key>(rnp_generate_key_25519, ffi.get(), all.items.back().c_str(), nullptr);
    keys += ExportPublic(key.get());
  }
  alice->Import(keys);
  const auto armoured = alice->EncryptText(all, "x").second;
  EXPECT_EQ(gpg->Run("--decrypt", armoured), "x") << gpg->said;
  const auto names_recipient = [](const std::string& line) {
    return line.starts_with("[GNUPG:] ENC_TO ");
  };
  EXPECT_EQ(std::ranges::count_if(Split(gpg->said, "\n"), names_recipient), 100);

  std::minstd_rand random;
  std::string noise(25'000'000, '\0');
  std::ranges::generate(noise, [&] { return static_cast<char>(random() >> 8); });
  const auto encrypted = (alice->folder / "encrypted").string();
  ASSERT_EQ(alice->engine->EncryptFileToFile(To(kPeers), alice->Write("noise", noise), encrypted),
            0);
  ExpectSame(gpg->Run("--decrypt", ContentOf(encrypted)), noise, gpg->said);
  const auto message = alice->Write("message", gpg->Make("--encrypt -r alice@example.org", noise));
  EXPECT_EQ(alice->engine->DecryptFileEx(message, nullptr), 0);
  EXPECT_TRUE(ContentOf(message) == noise);
}

TEST_F(GpgTest, SignsAndDecryptsWithGpgsSecretKeys) {
  Profile other;
  other.Import(alice->PublicKeys("alice@example.org"));
  for (const auto& address : kPeers) {
    other.Import(gpg->Make("--armor --export-secret-keys " + address));
    EXPECT_EQ(other.engine->AuthenticateAccount(address, "guess"), -4);
    other.Unlock(address);
    EXPECT_EQ(alice->VerifyText(other.SignText("x").second), "1 [" + address + "] [] x");
    for (const std::string option : {"--recipient ", "--hidden-recipient "}) {
      const std::string message = gpg->Make("--armor --encrypt " + option + address, "x");
      EXPECT_EQ(other.DecryptText(message), Outcome(0, "x"));
    }
  }
}

TEST_F(GpgTest, ExpiredAndRevokedKeysAreOfNoUse) {
  gpg->Generate("expired@example.org", "ed25519", "1d", "--faked-system-time 20200101T000000!");
  gpg->Generate("revoked@example.org", "ed25519");
  const auto by_expired =
      ClearSigned("--faked-system-time 20200101T100000! -u expired@example.org");
  const auto by_revoked = ClearSigned("-u revoked@example.org");
  const auto too_early = ClearSigned(
      "--faked-system-time 20300101T100000! --default-sig-expire 1d -u rita@example.org");
  gpg->Revoke("revoked@example.org");
  alice->Import(gpg->Make("--export expired@example.org revoked@example.org"));
  for (const auto* address : {"expired@example.org", "revoked@example.org"}) {
    EXPECT_EQ(alice->QueryKeyPair(address), -13) << address;
    EXPECT_EQ(alice->EncryptText(To({address}), "x").first, -13) << address;
  }
  EXPECT_EQ(alice->VerifyText(by_expired), "-6 [] [] ");
  EXPECT_EQ(alice->VerifyText(by_revoked), "-6 [] [] ");
  EXPECT_EQ(alice->VerifyText(too_early), "-10 [] [] ");
}

TEST_F(GpgTest, TheIndexSaysOfAKeyWhatACheckOfItFinds) {
  const std::string past = "--faked-system-time 20200101T000000!";
  gpg->Generate("ended@example.org", "ed25519", "1d", past);
  gpg->Generate("ends@example.org", "ed25519", "20y", past);
  gpg->Generate("taken.back@example.org", "ed25519");
  gpg->Revoke("taken.back@example.org");
  gpg->Make("--quick-gen-key 'signs\\only <signs@example.org>' rsa2048 sign never");
  gpg->Make("--quick-add-uid signs@example.org 'Another <other@example.org>'");
  Profile profile;
  std::vector<KeyInfo> checked;
  ASSERT_EQ(profile.upkeep->ImportKeys(
                gpg->Make("--export") + gpg->Make("--export-secret-keys"),
                [](const auto&, const auto&) { return SecretString("secret"); }, checked),
            0);
  for (auto& key : checked) {
    EXPECT_TRUE(is_over_com || key.new_addresses == key.addresses);
    key.new_addresses.clear();
    std::vector<KeyInfo> found;
    EXPECT_EQ(profile.Reopened().upkeep->FindKeys(key.addresses.front(), found), 0);
    EXPECT_EQ(found, std::vector{key});
  }
  std::filesystem::remove(profile.folder / "keys/keys.index");
  for (int again = 0; again < 2; ++again) {
    std::vector<KeyInfo> listed;
    EXPECT_EQ(profile.Reopened().upkeep->ListKeys(listed), 0);
    EXPECT_EQ(listed, checked);
  }
}

TEST_F(GpgTest, AnOutdatedSignatureIsNotCalledAForgery) {
  gpg->Make("--cert-digest-algo SHA256 --quick-gen-key dsa@example.org dsa1024 sign never");
  gpg->Make("--cert-digest-algo SHA1 --quick-gen-key sha1@example.org rsa2048 sign never");
  alice->Import(gpg->Make("--export dsa@example.org sha1@example.org"));
  const std::pair<const char*, std::string> cases[] = {
      {"SHA1 -u rita@example.org", "signature of rita@example.org"},
      {"SHA1 -u dsa@example.org", "signature of dsa@example.org"},
      {"SHA256 -u sha1@example.org", "key of " + gpg->Fingerprint("sha1@example.org").substr(24)}};
  for (const auto& [options, what] : cases) {
    const auto signed_text = ClearSigned(std::string("--digest-algo ") + options);
    EXPECT_EQ(alice->VerifyText(signed_text), "-10 [] [] ") << options;
    EXPECT_EQ(alice->engine->GetEngineLastError(),
              "The " + what + " uses SHA1, which is no longer secure.");
  }
  EXPECT_EQ(alice->VerifyText(ClearSigned("--digest-algo SHA256 -u dsa@example.org")),
            "1 [dsa@example.org] [] x");
}

TEST_F(GpgTest, ASignerWithSeveralAddressesIsCalledAsTheSignatureSays) {
  gpg->Generate("old@example.org", "ed25519");
  gpg->Make("--quick-add-uid old@example.org 'N \"New\" <new@example.org>'");
  gpg->Make("--quick-set-primary-uid old@example.org 'N \"New\" <new@example.org>'");
  alice->Import(gpg->Make("--armor --export old@example.org"));
  const std::string key = "-u " + gpg->Fingerprint("old@example.org");
  for (const auto& [options, signer] :
       {std::pair(std::string("-u old@example.org"), "old"), std::pair(key, "new"),
        std::pair("--sender new@example.org " + key, "new"),
        std::pair("--sender gina@example.org " + key, "new")}) {
    EXPECT_EQ(alice->VerifyText(ClearSigned(options)),
              "1 [" + std::string(signer) + "@example.org] [] x");
  }
}

TEST_F(GpgTest, TheNewestUsableSubkeyIsTaken) {
  gpg->Generate("subs@example.org", "ed25519", "never", "--faked-system-time 20210101T000000!");
  const std::string fingerprint = gpg->Fingerprint("subs@example.org");
  for (const std::string added :
       {"2022 cv25519 encr never", "2022 ed25519 sign never", "2023 cv25519 encr 1d"}) {
    gpg->Make("--faked-system-time " + added.substr(0, 4) + "0101T000000! --quick-add-key " +
              fingerprint + added.substr(4));
  }
  alice->Import(gpg->Make("--export subs@example.org"));
  const auto armoured = alice->EncryptText(To({"subs@example.org"}), "x").second;
  EXPECT_EQ(gpg->Run("--decrypt", armoured), "x");
  // The encryption subkey made on 2022-01-01, not the first and not the expired.
  std::smatch subkey;
  const std::string subkeys = gpg->Make("--with-colons --list-keys subs@example.org");
  ASSERT_TRUE(std::regex_search(subkeys, subkey,
                                std::regex("sub:[^:]*:255:18:([0-9A-F]{16}):1640995200:")));
  const std::string packets = gpg->Run("--list-packets --list-only", armoured);
  EXPECT_NE(packets.find("keyid " + subkey.str(1)), std::string::npos) << packets;
  EXPECT_EQ(alice->VerifyText(ClearSigned("-u subs@example.org")), "1 [subs@example.org] [] x");
}

}  // namespace
}  // namespace corvessa::engine
