#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/text.h"
#include "engine/armour.h"
#include "engine/profile.h"

namespace corvessa::engine {
namespace {

using ::testing::Contains;
using ::testing::UnorderedElementsAre;

/// Keys made once, for other profiles to import.
class RingsTest : public ::testing::Test {
 protected:
  static constexpr int kKeys = 5;
  static void SetUpTestSuite() {
    donor = new Profile;
    for (int i = 0; i < kKeys; ++i) donor->Generate(Address(i));
  }
  static void TearDownTestSuite() { delete donor; }
  static std::string Address(int i) { return "user" + std::to_string(i) + "@example.org"; }

  /// The addresses of the rings as a fresh session sees them, in ring order.
  static std::vector<std::string> Listed(Profile& profile) {
    std::vector<KeyInfo> keys;
    EXPECT_EQ(profile.Reopened()->ListKeys(keys), 0);
    std::vector<std::string> addresses;
    for (const auto& key : keys) addresses.push_back(key.addresses.front());
    return addresses;
  }
  /// A child process of this test that does something with its own engine of the profile.
  template <typename Work>
  static pid_t InChild(Profile& profile, Work work) {
    const pid_t child = fork();
    if (child != 0) return child;
    const auto engine = profile.Reopened();
    work(*engine);
    _exit(0);
  }

  static inline Profile* donor = nullptr;
};

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
    EXPECT_EQ(profile.Reopened()->QueryKeyPair(Address(1), text), 0) << content;
    EXPECT_EQ(ContentOf(index), good);
    EXPECT_EQ(profile.Reopened()->AuthenticateAccount(Address(0), "secret"), 0);
  }
  std::filesystem::remove(index);
  EXPECT_EQ(Listed(profile), (std::vector{Address(0), Address(1)}));
  EXPECT_EQ(ContentOf(index), good);
  // Keys are known and stored where no index can be written.
  std::filesystem::remove(index);
  std::filesystem::create_directories(index / "in the way");
  profile.Import(donor->PublicKeys(Address(2)));
  EXPECT_EQ(Listed(profile), (std::vector{Address(0), Address(1), Address(2)}));
}

TEST_F(RingsTest, ADamagedRingGivesWhatIsGoodAndLosesNothing) {
  Profile profile;
  for (int i = 0; i < 3; ++i) profile.Import(donor->PublicKeys(Address(i)));
  const auto ring = ContentOf(profile.folder / "keys/public.ring");
  const auto cut = ring.substr(0, ring.size() - 390);
  profile.Write("keys/public.ring", cut);
  EXPECT_EQ(Listed(profile), (std::vector{Address(0), Address(1)}));
  profile.Import(donor->PublicKeys(Address(3)));
  EXPECT_EQ(Listed(profile), (std::vector{Address(0), Address(1), Address(3)}));
  EXPECT_EQ(ContentOf(profile.folder / "keys/public.ring.damaged"), cut);
  const auto cut_again = ring.substr(0, ring.size() - 400);
  profile.Write("keys/public.ring", cut_again);
  EXPECT_EQ(Listed(profile), (std::vector{Address(0), Address(1)}));
  EXPECT_EQ(ContentOf(profile.folder / "keys/public.ring.damaged"), cut);
  EXPECT_EQ(ContentOf(profile.folder / "keys/public.ring.damaged.2"), cut_again);
}

TEST_F(RingsTest, ARingThatCannotBeReadIsNeitherUsedNorReplaced) {
  Profile profile;
  profile.Import(donor->SecretKeys(Address(0)));
  const auto ring = profile.folder / "keys/secret.ring";
  const auto aside = profile.folder / "keys/aside";
  std::filesystem::rename(ring, aside);
  std::vector<KeyInfo> keys;
  // Not even root reads a link that leads to itself.
  for (const auto* link : {"secret.ring", "not-mounted/secret.ring"}) {
    std::filesystem::create_symlink(link, ring);
    for (const auto& engine : {profile.engine, profile.Reopened()}) {
      for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(engine->ImportKeys(donor->SecretKeys(Address(1)), {}, keys), -7);
        EXPECT_EQ(engine->ListKeys(keys), -7);
      }
    }
    EXPECT_TRUE(std::filesystem::is_symlink(ring));
    std::filesystem::remove(ring);
  }
  std::filesystem::create_symlink("aside", ring);
  profile.Import(donor->SecretKeys(Address(1)));
  EXPECT_TRUE(std::filesystem::is_symlink(ring));
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(profile.engine->AuthenticateAccount(Address(i), "secret"), 0) << i;
  }
}

TEST_F(RingsTest, TroubleWithARingIsNeverReportedAsAMissingKey) {
  namespace fs = std::filesystem;
  struct Case {
    const char* what;
    std::function<void(const fs::path& keys)> spoil;
    std::string trouble;           // with KEYS for the folder
    platform::EngineStatus known;  // of an address whose key is in what is left
  };
  const auto secret_key = donor->SecretKeys(Address(0));
  const auto lost = [](const std::string& ring, const std::string& state) {
    return "The key ring KEYS/" + ring + " is " + state +
           "; keys may be missing. Restore it from a backup or import the keys again.";
  };
  const auto truncate = [](const fs::path& ring) {
    fs::resize_file(ring, fs::file_size(ring) - 10);
  };
  for (const auto& [what, spoil, trouble, known] : {
           Case{"damaged", [&](const fs::path& keys) { truncate(keys / "public.ring"); },
                "The key ring KEYS/public.ring was damaged; keys may be missing. The damaged ring "
                "is kept as KEYS/public.ring.damaged. Restore the keys, then delete that file.",
                0},
           Case{"emptied", [](const fs::path& keys) { fs::resize_file(keys / "public.ring", 0); },
                lost("public.ring", "empty"), 0},
           Case{"removed", [](const fs::path& keys) { fs::remove(keys / "public.ring"); },
                lost("public.ring", "missing"), 0},
           Case{"the secret ring removed",
                [](const fs::path& keys) { fs::remove(keys / "secret.ring"); },
                lost("secret.ring", "missing"), 0},
           Case{"only the index left",
                [](const fs::path& keys) {
                  fs::remove(keys / "public.ring");
                  fs::remove(keys / "secret.ring");
                },
                lost("public.ring", "missing"), -16},
           Case{"a pipe in its place",
                [](const fs::path& keys) {
                  fs::remove(keys / "public.ring");
                  mkfifo((keys / "public.ring").c_str(), 0600);
                },
                "Cannot open KEYS/public.ring: Not a regular file.", -16},
       }) {
    SCOPED_TRACE(what);
    Profile profile;
    profile.Import(secret_key);
    profile.Import(donor->PublicKeys(Address(1)));
    spoil(profile.folder / "keys");
    const auto told = Replace(trouble, "KEYS", (profile.folder / "keys").string());
    for (int again = 0; again < 2; ++again) {
      const auto engine = profile.Reopened();
      std::string text;
      EXPECT_EQ(engine->QueryKeyPair(Address(2), text), -16);
      EXPECT_EQ(engine->GetEngineLastError(), told);
      EXPECT_EQ(engine->QueryKeyPair(Address(0), text), known);
      EXPECT_EQ(engine->EncryptText(To({Address(2)}), "x", text), -7);
      EXPECT_EQ(engine->EncryptText(To(), "x", text), -7);
      EXPECT_EQ(engine->AuthenticateAccount(Address(2), "secret"), -7);
      EXPECT_EQ(FindKeyTrouble(profile.folder / "keys"), told);
    }
  }
  Profile whole;
  EXPECT_EQ(FindKeyTrouble(whole.folder / "keys"), "");
  whole.Import(secret_key);
  EXPECT_EQ(FindKeyTrouble(whole.folder / "keys"), "");
}

TEST_F(RingsTest, SurvivesBeingKilledAtAnyMoment) {
  for (int round = 0; round < 16; ++round) {
    Profile profile;
    int acknowledged[2];
    ASSERT_EQ(pipe(acknowledged), 0);
    const pid_t child = InChild(profile, [&](OpenPgpEngine& engine) {
      std::vector<KeyInfo> imported;
      for (int i = 0; i < kKeys; ++i) {
        engine.ImportKeys(donor->SecretKeys(Address(i)), {}, imported);
        if (write(acknowledged[1], "x", 1) != 1) _exit(1);
      }
    });
    close(acknowledged[1]);
    usleep(static_cast<useconds_t>(round * 2000));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    char done[kKeys];
    std::size_t count = 0;
    while (count < kKeys && read(acknowledged[0], done, 1) == 1) ++count;
    close(acknowledged[0]);

    const auto listed = Listed(profile);
    ASSERT_GE(listed.size(), count) << "a stored key is lost";
    for (std::size_t i = 0; i < listed.size(); ++i) {
      EXPECT_EQ(listed[i], Address(static_cast<int>(i)));
    }
    if (count > 0) {
      EXPECT_EQ(
          profile.Reopened()->AuthenticateAccount(Address(static_cast<int>(count) - 1), "secret"),
          0);
    }
    profile.Import(donor->SecretKeys(Address(kKeys - 1)));
    EXPECT_THAT(Listed(profile), Contains(Address(kKeys - 1)));
    for (const auto& address : listed) EXPECT_NE(profile.PublicKeys(address), "");
  }
}

TEST_F(RingsTest, TwoProcessesLoseNoKeyAndSeeEachOthers) {
  Profile profile;
  const pid_t first = InChild(profile, [](OpenPgpEngine& engine) {
    std::vector<KeyInfo> imported;
    for (int i = 1; i < kKeys; i += 2)
      engine.ImportKeys(donor->PublicKeys(Address(i)), {}, imported);
  });
  for (int i = 0; i < kKeys; i += 2) profile.Import(donor->PublicKeys(Address(i)));
  waitpid(first, nullptr, 0);
  for (int i = 0; i < kKeys; ++i) {
    EXPECT_EQ(profile.QueryKeyPair(Address(i)), 0) << i;
  }
  EXPECT_EQ(Listed(profile).size(), static_cast<std::size_t>(kKeys));
}

TEST_F(RingsTest, GeneratesListsExportsAndMerges) {
  Profile profile;
  KeyInfo made;
  ASSERT_EQ(profile.engine->GenerateKey("M\xc3\xbcller", "Mueller@Example.org", "pw", made), 0);
  EXPECT_EQ(made.user_ids, std::vector<std::string>{"M\xc3\xbcller <mueller@example.org>"});
  EXPECT_EQ(made.addresses, std::vector<std::string>{"mueller@example.org"});
  EXPECT_EQ(made.algorithm, "EDDSA");
  EXPECT_EQ(std::tuple(made.secret, made.revoked, made.expired, made.expires),
            std::tuple(true, false, false, 0));
  EXPECT_EQ(profile.QueryKeyPair("mueller@example.org"), 0);
  EXPECT_EQ(profile.PublicKeys(made.fingerprint), profile.PublicKeys("mueller@example.org"));
  for (const auto* address : {"", "no address", "a@b@c", "a b@c.org", "<a@b.org>"}) {
    EXPECT_EQ(profile.engine->GenerateKey("", address, "pw", made), -6) << address;
  }
  EXPECT_EQ(profile.engine->GenerateKey("Eve <", "eve@example.org", "pw", made), -6);
  EXPECT_EQ(profile.engine->GenerateKey("", "eve@example.org", "", made), -4);

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
  donor->Unlock(Address(1));
  const auto signed_text = donor->SignText("x").second;
  const auto open = profile.Reopened();
  const auto verify = [&] {
    To signers;
    To unknown;
    std::string content;
    return open->VerifyText(signed_text, signers, unknown, content);
  };
  std::string text;
  EXPECT_EQ(verify(), 1);
  EXPECT_EQ(open->AuthenticateAccount(Address(1), "secret"), 0);
  EXPECT_EQ(open->SignText("x", nullptr, text), 0);
  EXPECT_EQ(profile.engine->RemoveKeys(Address(1)), 0);
  for (const auto& engine : {open, profile.engine}) {
    EXPECT_EQ(engine->SignText("x", nullptr, text), -13);
    EXPECT_EQ(engine->QueryKeyPair(Address(1), text), -13);
    EXPECT_EQ(engine->AuthenticateAccount(Address(1), "secret"), -13);
    EXPECT_EQ(engine->RemoveKeys(Address(1)), -13);
  }
  EXPECT_EQ(verify(), -13);
  EXPECT_EQ(Listed(profile), (std::vector{Address(0), Address(2)}));
  EXPECT_EQ(profile.engine->AuthenticateAccount(Address(2), "secret"), 0);
}

TEST_F(RingsTest, NoPassphraseAndNoPlainSecretKeyIsOnDisk) {
  Profile profile;
  profile.Generate("alice@example.org", "correct horse battery");
  profile.engine->AuthenticateAccount("alice@example.org", "correct horse battery");
  EXPECT_EQ(profile.engine->AuthenticateAccount("alice@example.org", "wrong horse"), -4);
  EXPECT_EQ(profile.engine->GetEngineLastError(), "Wrong passphrase for alice@example.org.");
  for (const auto& name : Names(profile.folder / "keys")) {
    EXPECT_EQ(ContentOf(profile.folder / "keys" / name).find("horse"), std::string::npos) << name;
    if (name == "keys.lock") continue;
    EXPECT_EQ(std::filesystem::status(profile.folder / "keys" / name).permissions(),
              std::filesystem::perms(0600))
        << name;
  }
}

}  // namespace
}  // namespace corvessa::engine
