#include <gtest/gtest.h>

#include "base/text.h"
#include "engine/armour.h"
#include "engine/key_facts.h"
#include "engine/packets.h"
#include "engine/profile.h"
#include "support/gpg.h"

namespace corvessa::engine {
namespace {

constexpr const char* kBob = "bob@example.org";
constexpr const char* kOpen = "open@example.org";
constexpr const char* kMallory = "mallory@example.org";

const std::string kUnknownSubkey("\xCE\x0A\x04zzzz\x63numb", 12);

std::string Binary(std::string_view armoured) {
  return Dearmour(FindArmour(armoured, "PUBLIC KEY BLOCK")->block);
}

TEST(HostileKeysTest, AnotherKeysIdInASignatureIdentifiesNoSigner) {
  Profile reader;
  Profile mallory;
  const std::string bob = reader.Generate(kBob);
  mallory.Generate(kMallory);
  reader.Import(mallory.PublicKeys(kMallory));
  mallory.Unlock(kMallory);
  const std::string text = mallory.SignText("Pay me").second;
  EXPECT_EQ(reader.VerifyText(text), "1 [mallory@example.org] [] Pay me");
  const auto begin = text.find("-----BEGIN PGP SIGNATURE-----");
  std::string signature = Dearmour(std::string_view(text).substr(begin));
  const auto issuer = signature.find("\x09\x10");  // nine bytes, kind 16: the key ID
  ASSERT_NE(issuer, std::string::npos);
  for (std::size_t i = 0; i < kKeyIdLength; ++i) {
    const std::string digits = bob.substr(24 + 2 * i, 2);
    signature[issuer + 2 + i] = static_cast<char>(std::stoi(digits, nullptr, 16));
  }
  const std::string forged = text.substr(0, begin) + Armour(signature, "signature", {});
  EXPECT_EQ(reader.VerifyText(forged), "0 [" + bob.substr(24) + "] [] ");
}

TEST(HostileKeysTest, OtherKeysCannotClaimAnOwnAddress) {
  Profile reader;
  Profile mallory;
  reader.Generate(kBob);
  mallory.Generate(kBob);
  mallory.Unlock(kBob);
  reader.Import(mallory.PublicKeys(kBob));
  EXPECT_EQ(reader.VerifyText(mallory.SignText("x").second).substr(0, 2), "-6");
}

TEST(HostileKeysTest, WhatOnlyLooksLikeAnAddressIsNone) {
  EXPECT_EQ(AddressOf("B <b.o'b+tag@sub.example-1.org>"), "b.o'b+tag@sub.example-1.org");
  for (const auto* text : {"B <'b@x.org'>", "B <[b@x.org]>", "B <b@x.org.>", "B <b@x.org(x)>",
                           "B <mailto:b@x.org>", "B <b@[1.2.3.4]>", "B <x@y>"}) {
    EXPECT_EQ(AddressOf(text), "") << text;
  }
}

TEST(HostileKeysTest, MadeUpNamesDoNotSpoilAKey) {
  Profile profile;
  profile.Generate(kBob);
  const std::string key = Binary(profile.PublicKeys(kBob));
  const auto parts = SplitKey(key);
  ASSERT_EQ(parts.size(), 3U);
  const std::string primary(parts[0].bytes), name(parts[1].bytes), subkey(parts[2].bytes);
  const std::string made_up = Replace(name, kBob, "evil@example.or");
  ASSERT_NE(made_up, name);
  const std::string only = primary + made_up + subkey;
  for (const auto& poison :
       {primary + name + made_up + subkey, primary + made_up + name + subkey, only}) {
    profile.Import(poison);
    EXPECT_EQ(profile.QueryKeyPair(kBob), 0);
    EXPECT_EQ(profile.QueryKeyPair("evil@example.or"), -13);
  }
  Profile other;
  other.Import(only);
  other.Import(key);
  EXPECT_EQ(other.QueryKeyPair(kBob), 0);
}

TEST(HostileKeysTest, AKeyThatBindsAnothersSubkeyDoesNotStandInItsWay) {
  testing::Gpg gpg;
  const std::string clock = "--faked-system-time 20250101T000000! ";  // part of a key's number
  gpg.Generate(kBob, "ed25519", "never", clock);
  gpg.Make(clock + "--quick-gen-key 'Mallory <mallory@example.org>' ed25519 cert,sign never");
  const std::string listing = gpg.Make("--with-colons --with-keygrip --list-keys bob@example.org");
  const auto grip = listing.rfind("grp:::::::::") + 12;
  gpg.Make(clock + "--expert --command-fd 0 --edit-key mallory@example.org",
           "addkey\n13\n" + listing.substr(grip, 40) + "\nq\n0\nsave\n");
  const std::string bob = gpg.PublicKey(kBob);
  const std::string mallory = gpg.PublicKey(kMallory);
  const std::string secret = gpg.SecretKey(kBob);
  ASSERT_EQ(SplitKey(mallory).size(), 3U);
  for (const auto& [first, second] : {std::pair(bob, mallory), std::pair(mallory, bob)}) {
    Profile profile;
    profile.Import(first);
    profile.Import(second);
    EXPECT_EQ(profile.QueryKeyPair(kMallory), 0);
    const auto encrypted = profile.EncryptText(To({kMallory, kBob}), "x");
    EXPECT_EQ(gpg.Run("--decrypt", encrypted.second), "x");
    profile.Import(secret, "secret");
    EXPECT_EQ(profile.QueryKeyPair(kMallory), 0);
    profile.Unlock(kBob);
    EXPECT_EQ(profile.DecryptText(encrypted.second), Outcome(0, "x"));
    EXPECT_EQ(profile.SignText("x").first, 0);
    profile.Import(gpg.RevocationOf(kBob));
    EXPECT_EQ(profile.QueryKeyPair(kBob), -13);
  }
}

class OwnKeysTest : public ::testing::Test {
 protected:
  OwnKeysTest() { gpg.Generate(kBob, "ed25519"); }
  std::string Public() { return gpg.PublicKey(kBob); }
  std::string Secret() { return gpg.SecretKey(kBob); }
  bool Signs(Profile& own) {
    return own.engine->AuthenticateAccount(kBob, "secret") == 0 && own.SignText("x").first == 0;
  }
  bool Reads(Profile& own) {
    own.Unlock(kBob);
    const auto message = gpg.Make("--armor --encrypt -r bob@example.org", "x");
    return own.DecryptText(message) == Outcome(0, "x");
  }
  void AddSubkey(const std::string& kind) {
    gpg.Make("--quick-add-key " + gpg.Fingerprint(kBob) + " " + kind + " never");
  }

  testing::Gpg gpg;
  Profile profile;
};

TEST_F(OwnKeysTest, AWholeSecretKeyTakesThePlaceOfItsStub) {
  const std::string stub = gpg.Make("--export-secret-subkeys bob@example.org");
  profile.Import(stub);
  profile.Unlock(kBob);
  EXPECT_EQ(profile.SignText("x").first, -13);
  profile.Import(Secret(), "secret");
  profile.Import(stub, "secret");
  EXPECT_TRUE(Signs(profile));
}

TEST_F(OwnKeysTest, ASecretKeyOfAKnownKeyProvesItself) {
  const std::string real = Secret();
  std::string made_up = real;
  made_up[static_cast<std::size_t>(SecretPackets(real)[0].end() - real.data() - 1)] ^= 1;
  profile.Import(Public());
  EXPECT_EQ(profile.ImportStatus(real), -4);
  EXPECT_EQ(profile.ImportStatus(real, "wrong"), -4);
  EXPECT_EQ(profile.ImportStatus(made_up, "secret"), -4);
  EXPECT_EQ(profile.engine->AuthenticateAccount(kBob, "secret"), -13);
  profile.Import(real, "secret");
  profile.Import(real);
  EXPECT_TRUE(Signs(profile));
  // What came first is no obstacle to the backup.
  Profile other;
  other.Import(made_up);
  EXPECT_FALSE(Signs(other));
  other.Import(real, "secret");
  EXPECT_TRUE(Signs(other));
}

TEST_F(OwnKeysTest, OpenSecretKeysProveThemselvesByTheirNumbers) {
  constexpr std::size_t kPublicLength = 51;  // of an ed25519 key
  gpg.Write("passphrase", "");
  gpg.Generate(kOpen, "ed25519");
  gpg.Generate(kMallory, "ed25519");
  const std::string real = gpg.SecretKey(kOpen);
  const std::string others = gpg.SecretKey(kMallory);
  std::string numbers(SecretPackets(real)[0].substr(0, kPublicLength));
  numbers += SecretPackets(others)[0].substr(kPublicLength);
  const auto rest = static_cast<std::size_t>(SecretPackets(real)[0].end() - real.data());
  const std::string forged =
      "\xC5" + std::string(1, static_cast<char>(numbers.size())) + numbers + real.substr(rest);
  const std::string subkeys = gpg.Make("--export-secret-subkeys open@example.org");
  std::string forged_subkey = subkeys;
  // A byte in the middle of the number, and so the sum of all bytes that follows it.
  const auto end = static_cast<std::size_t>(SecretPackets(subkeys)[1].end() - subkeys.data());
  const int change = forged_subkey[end - 10] == '\xFF' ? -1 : 1;
  forged_subkey[end - 10] = static_cast<char>(forged_subkey[end - 10] + change);
  const int sum = (static_cast<unsigned char>(subkeys[end - 2]) << 8) +
                  static_cast<unsigned char>(subkeys[end - 1]) + change;
  forged_subkey[end - 2] = static_cast<char>(sum >> 8);
  forged_subkey[end - 1] = static_cast<char>(sum);
  for (const auto& [good, bad] : {std::pair(real, forged), std::pair(subkeys, forged_subkey)}) {
    Profile other;
    other.Import(gpg.PublicKey(kOpen));
    EXPECT_EQ(other.ImportStatus(bad), -3);
    EXPECT_EQ(other.engine->AuthenticateAccount(kOpen, ""), -13);
    other.Import(good);
    EXPECT_EQ(other.engine->AuthenticateAccount(kOpen, ""), 0);
  }
}

TEST_F(OwnKeysTest, ASecretSubkeyThatComesLaterIsUnlockedAndKeptWithAnOlderPublicRing) {
  profile.Import(Secret());
  profile.Unlock(kBob);
  const auto ring = profile.folder / "keys" / "public.ring";
  const std::string older = ContentOf(ring);
  AddSubkey("cv25519 encr");
  profile.Import(Secret(), "secret");
  EXPECT_TRUE(Reads(profile));
  testing::WriteContent(ring, older);
  EXPECT_TRUE(Reads(profile));
}

TEST_F(OwnKeysTest, ASubkeyWhoseSecretIsElsewhereDoesNotKeepFromSigning) {
  profile.Import(Secret());
  AddSubkey("ed25519 sign");
  profile.Import(Public());
  EXPECT_TRUE(Signs(profile));
}

TEST_F(OwnKeysTest, WhatAnotherProgramPutIntoARingIsNotLost) {
  profile.Import(Secret());
  const auto ring = profile.folder / "keys" / "public.ring";
  const std::string content = ContentOf(ring) + kUnknownSubkey;
  testing::WriteContent(ring, content);
  gpg.Make("--quick-add-uid bob@example.org second@example.org");  // as many parts as are held
  EXPECT_EQ(profile.ImportStatus(Secret(), "secret"), -7);
  EXPECT_EQ(ContentOf(ring), content);
}

TEST_F(OwnKeysTest, ARevocationReachesAKeyThatIsThere) {
  const std::string key = gpg.PublicKey(kBob);
  const std::string revocation(Dearmour(gpg.RevocationOf(kBob)));
  EXPECT_EQ(profile.ImportStatus(revocation), -9);
  gpg.Revoke(kBob);
  gpg.Generate(kMallory, "ed25519");
  for (const std::string& update : {gpg.PublicKey(kBob), key + revocation, revocation,
                                    gpg.RevocationOf(kBob), gpg.PublicKey(kMallory) + revocation}) {
    Profile other;
    other.Import(key);
    EXPECT_EQ(other.QueryKeyPair(kBob), 0);
    other.Import(update);
    EXPECT_EQ(other.QueryKeyPair(kBob), -13);
  }
}

TEST_F(OwnKeysTest, WhatIsCutOffIsRefusedAndWhatIsUnknownIsToldOf) {
  const std::string cut = Secret();
  EXPECT_EQ(profile.ImportStatus(cut.substr(0, cut.size() - 50)), -3);
  EXPECT_EQ(profile.QueryKeyPair(kBob), -13);
  const std::string version_5("\xC6\x09\x05zzzz\x16numb", 11);
  std::vector<KeyInfo> imported;
  EXPECT_EQ(
      profile.upkeep->ImportKeys(gpg.PublicKey(kBob) + kUnknownSubkey + version_5, {}, imported),
      -9);
  EXPECT_EQ(
      profile.engine->GetEngineLastError(),
      "Keys of version 5 are not supported. What is of a kind unknown here was left out (keys: 1, "
      "subkeys: 1); the rest was taken.");
  EXPECT_EQ(imported.size(), 1U);
  EXPECT_EQ(profile.QueryKeyPair(kBob), 0);
  const std::string head("\4time", 5);
  for (const auto& [body, trouble] :
       {std::pair(version_5.substr(2), "Keys of version 5 are not supported."),
        std::pair(head + "\x63key", "Keys of algorithm 99 are not supported."),
        std::pair(head + "\1\x40\1" + std::string(2049, 'n') + std::string("\0\2\3", 3),
                  "Keys of 16385 bits are not supported."),
        std::pair(head + "\x16key", "There is no OpenPGP key in this.")}) {
    const auto size = static_cast<char>(body.size() & 0xFF);
    EXPECT_EQ(profile.ImportStatus("\x99" + std::string{static_cast<char>(body.size() >> 8), size} +
                                   body),
              -9);
    EXPECT_EQ(profile.engine->GetEngineLastError(), trouble);
  }
}

TEST_F(OwnKeysTest, SecretPacketsInThePublicRingStayInIt) {
  profile.Import(gpg.PublicKey(kBob));
  testing::WriteContent(profile.folder / "keys" / "public.ring", Secret());
  EXPECT_FALSE(HoldsSecretKeys(Binary(profile.PublicKeys(kBob))));
}

}  // namespace
}  // namespace corvessa::engine
