#include "engine/rings.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/text.h"
#include "engine/armour.h"
#include "engine/packets.h"

namespace corvessa::engine {
namespace {

using ::testing::UnorderedElementsAre;

TEST_F(RingsTest, TheIndexIsMadeAgainWhenItIsMissingDamagedOrOld) {
  Profile profile;
  profile.Import(donor->SecretKeys(Address(0)));
  const auto index = profile.folder / "keys/keys.index";
  const auto old = ContentOf(index);
  profile.Import(donor->PublicKeys(Address(1)));
  const auto good = ContentOf(index);
  std::string damaged = good;
  damaged[good.size() / 2] = '?';
  for (const auto& content : {std::string(), old, damaged, good.substr(0, good.size() / 2),
                              good + "public\t0\t1\t\t\t\n"}) {
    profile.Write("keys/keys.index", content);
    std::string text;
    EXPECT_EQ(profile.Reopened().engine->QueryKeyPair(Address(1), text), 0) << content;
    EXPECT_EQ(ContentOf(index), good);
    EXPECT_EQ(profile.Reopened().engine->AuthenticateAccount(Address(0), "secret"), 0);
  }
  std::filesystem::remove(index);
  EXPECT_EQ(Listed(profile), Addresses({0, 1}));
  EXPECT_EQ(ContentOf(index), good);
  // Keys are known and stored where no index can be written.
  std::filesystem::remove(index);
  std::filesystem::create_directories(index / "in the way");
  profile.Import(donor->PublicKeys(Address(2)));
  EXPECT_EQ(Listed(profile), Addresses({0, 1, 2}));
}

TEST_F(RingsTest, ADamagedRingGivesWhatIsGoodAndLosesNothing) {
  Profile profile;
  for (int i = 0; i < 3; ++i) profile.Import(donor->PublicKeys(Address(i)));
  const auto ring = ContentOf(profile.folder / "keys/public.ring");
  const auto cut = ring.substr(0, ring.size() - 390);
  profile.Write("keys/public.ring", cut);
  EXPECT_EQ(Listed(profile), Addresses({0, 1}));
  profile.Import(donor->PublicKeys(Address(3)));
  EXPECT_EQ(Listed(profile), Addresses({0, 1, 3}));
  EXPECT_EQ(ContentOf(profile.folder / "keys/public.ring.damaged"), cut);
  const auto cut_again = ring.substr(0, ring.size() - 400);
  profile.Write("keys/public.ring", cut_again);
  EXPECT_EQ(Listed(profile), Addresses({0, 1}));
  EXPECT_EQ(ContentOf(profile.folder / "keys/public.ring.damaged"), cut);
  EXPECT_EQ(ContentOf(profile.folder / "keys/public.ring.damaged.2"), cut_again);
}

TEST_F(RingsTest, TroubleWithARingIsNeverReportedAsAMissingKey) {
  namespace fs = std::filesystem;
  const std::string restore =
      "; keys may be missing. Restore it from a backup or import the keys again.";
  const struct {
    std::function<void(const fs::path& public_ring, const fs::path& secret_ring)> spoil;
    std::string trouble;           // behind the folder
    platform::EngineStatus known;  // of an address whose key is in what is left
  } cases[] = {
      {[](auto& ring, auto&) { fs::resize_file(ring, fs::file_size(ring) - 10); },
       "public.ring was damaged; keys may be missing. The damaged ring is kept as "
       "KEYS/public.ring.damaged. "
       "Restore the keys, then delete that file.",
       0},
      {[](auto&, auto& secret) { fs::remove(secret); }, "secret.ring is missing" + restore, 0},
      {[](auto& ring, auto& secret) { fs::remove(ring), fs::remove(secret); },
       "public.ring is missing" + restore, -16}};
  for (const auto& [spoil, trouble, known] : cases) {
    SCOPED_TRACE(trouble);
    Profile profile;
    const auto keys = profile.folder / "keys";
    EXPECT_EQ(FindKeyTrouble(keys), "");
    profile.Import(donor->SecretKeys(Address(0)));
    profile.Import(donor->PublicKeys(Address(1)));
    EXPECT_EQ(FindKeyTrouble(keys), "");
    // Windows does not remove a file that is open.
    profile.engine.reset();
    profile.upkeep.reset();
    spoil(keys / "public.ring", keys / "secret.ring");
    const auto told = Replace("The key ring KEYS/" + trouble, "KEYS/", (keys / "").string());
    for (int again = 0; again < 2; ++again) {
      const auto engine = profile.Reopened().engine;
      std::string text;
      EXPECT_EQ(engine->QueryKeyPair(Address(2), text), -16);
      EXPECT_EQ(engine->GetEngineLastError(), told);
      EXPECT_EQ(engine->QueryKeyPair(Address(0), text), known);
      EXPECT_EQ(engine->EncryptText(To({Address(2)}), "x", text), -7);
      EXPECT_EQ(engine->EncryptText(To(), "x", text), -7);
      EXPECT_EQ(engine->AuthenticateAccount(Address(2), "secret"), -7);
      EXPECT_EQ(FindKeyTrouble(keys), told);
    }
  }
}

TEST_F(RingsTest, GeneratesListsExportsAndMerges) {
  Profile profile;
  KeyInfo made;
  ASSERT_EQ(profile.upkeep->GenerateKey("M\xc3\xbcller", "Mueller@Example.org", "pw", made), 0);
  EXPECT_EQ(made.user_ids, std::vector<std::string>{"M\xc3\xbcller <mueller@example.org>"});
  EXPECT_EQ(made.addresses, std::vector<std::string>{"mueller@example.org"});
  EXPECT_EQ(made.algorithm, "EDDSA");
  EXPECT_EQ(std::tuple(made.secret, made.revoked, made.expired, made.expires),
            std::tuple(true, false, false, 0));
  EXPECT_EQ(profile.QueryKeyPair("mueller@example.org"), 0);
  EXPECT_EQ(profile.PublicKeys(made.fingerprint), profile.PublicKeys("mueller@example.org"));
  for (const auto* address : {"", "no address", "a@b@c", "a b@c.org", "<a@b.org>"}) {
    EXPECT_EQ(profile.upkeep->GenerateKey("", address, "pw", made), -6) << address;
  }
  EXPECT_EQ(profile.upkeep->GenerateKey("Eve <", "eve@example.org", "pw", made), -6);
  EXPECT_EQ(profile.upkeep->GenerateKey("", "eve@example.org", "", made), -4);

  // A public key first and its secret key later, twice, are one key.
  Profile other;
  other.Import(profile.PublicKeys("mueller@example.org"));
  EXPECT_EQ(other.engine->AuthenticateAccount("mueller@example.org", "pw"), -13);
  const auto both = profile.SecretKeys("mueller@example.org") + donor->PublicKeys(Address(0));
  other.Import(both, "pw");
  other.Import(Dearmour(profile.SecretKeys("mueller@example.org")));
  EXPECT_EQ(other.engine->AuthenticateAccount("mueller@example.org", "pw"), 0);
  EXPECT_THAT(Listed(other), UnorderedElementsAre("mueller@example.org", Address(0)));
  for (const auto* data : {"", "Hello", "\x99\x01", "-----BEGIN PGP PUBLIC KEY BLOCK-----\n\nx"}) {
    EXPECT_LT(other.ImportStatus(data), 0) << data;
  }
  EXPECT_EQ(Listed(other).size(), 2U);
}

TEST_F(RingsTest, RemovedKeysAreOfNoUseToAnySession) {
  Profile profile;
  for (int i = 0; i < 3; ++i) profile.Import(donor->SecretKeys(Address(i)));
  const auto open = profile.Reopened();
  std::string text;
  EXPECT_EQ(open.engine->AuthenticateAccount(Address(1), "secret"), 0);
  EXPECT_EQ(open.engine->SignText("x", nullptr, text), 0);
  EXPECT_EQ(profile.VerifyText(text), "1 [" + Address(1) + "] [] x");
  EXPECT_EQ(open.upkeep->RemoveKeys(Address(1)), 0);
  EXPECT_EQ(profile.VerifyText(text).substr(0, 3), "-13");
  for (const auto& session : {open, Opened{profile.engine, profile.upkeep}}) {
    EXPECT_EQ(session.engine->SignText("x", nullptr, text), -13);
    EXPECT_EQ(session.engine->QueryKeyPair(Address(1), text), -13);
    EXPECT_EQ(session.engine->AuthenticateAccount(Address(1), "secret"), -13);
    EXPECT_EQ(session.upkeep->RemoveKeys(Address(1)), -13);
  }
  EXPECT_EQ(Listed(profile), Addresses({0, 2}));
  profile.Unlock(Address(2));
}

TEST_F(RingsTest, NoPassphraseIsOnDisk) {
  Profile profile;
  profile.Generate("alice@example.org", "correct horse battery");
  profile.engine->AuthenticateAccount("alice@example.org", "correct horse battery");
  EXPECT_EQ(profile.engine->AuthenticateAccount("alice@example.org", "wrong horse"), -4);
  EXPECT_EQ(profile.engine->GetEngineLastError(), "Wrong passphrase for alice@example.org.");
  for (const auto& entry : std::filesystem::directory_iterator(profile.folder / "keys")) {
    EXPECT_EQ(ContentOf(entry).find("horse"), std::string::npos) << entry;
  }
}

TEST_F(RingsTest, PacketsThatSayNothingAreSkippedAndLaterVersionsNamed) {
  const std::string key = Dearmour(donor->PublicKeys(Address(0)));
  const std::string noise("\xca\x03PGP\xd5\x02xx\xfc\x03prv", 14);
  const auto first = FirstPacket(key).size();
  Profile profile;
  profile.Import(noise + key.substr(0, first) + noise + key.substr(first) + noise);
  EXPECT_EQ(Dearmour(profile.PublicKeys(Address(0))), key);
  const std::string later("\xc6\x05\x06\0\0\0\0", 7);
  EXPECT_EQ(profile.ImportStatus(later), -9);
  EXPECT_EQ(profile.engine->GetEngineLastError(), "Keys of version 6 are not supported.");
  EXPECT_EQ(profile.ImportStatus(key + later), -9);
  EXPECT_EQ(profile.engine->GetEngineLastError(),
            "Keys of version 6 are not supported. What is of a kind unknown here was left out "
            "(keys: 1, subkeys: 0); the rest was taken.");
}

}  // namespace
}  // namespace corvessa::engine
