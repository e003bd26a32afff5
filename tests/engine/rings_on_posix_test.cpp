#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/rings.h"

// What only POSIX offers: links, permissions and forked processes.

namespace corvessa::engine {
namespace {

using ::testing::Contains;
using ::testing::SizeIs;

class RingsOnPosixTest : public RingsTest {
 protected:
  /// A child process of this test that imports the keys of these numbers.
  static pid_t ImportInChild(Profile& profile, std::vector<int> numbers) {
    const pid_t child = fork();
    if (child != 0) return child;
    const auto upkeep = profile.Reopened().upkeep;
    std::vector<KeyInfo> imported;
    for (const int i : numbers) upkeep->ImportKeys(donor->SecretKeys(Address(i)), {}, imported);
    _exit(0);
  }
};

TEST_F(RingsOnPosixTest, TheyBelongToTheirUserAlone) {
  Profile profile;
  profile.Import(donor->SecretKeys(Address(0)));
  for (const auto* name : {"public.ring", "secret.ring", "keys.index"}) {
    EXPECT_EQ(std::filesystem::status(profile.folder / "keys" / name).permissions(),
              std::filesystem::perms(0600))
        << name;
  }
}

TEST_F(RingsOnPosixTest, ARingThatCannotBeReadIsNeitherUsedNorReplaced) {
  Profile profile;
  profile.Import(donor->SecretKeys(Address(0)));
  const auto ring = profile.folder / "keys/secret.ring";
  std::filesystem::rename(ring, profile.folder / "keys/aside");
  // Not even root reads a link that leads to itself.
  for (const auto* link : {"secret.ring", "not-mounted/secret.ring"}) {
    std::filesystem::create_symlink(link, ring);
    for (const auto& upkeep : {profile.upkeep, profile.Reopened().upkeep, profile.upkeep}) {
      std::vector<KeyInfo> keys;
      EXPECT_EQ(upkeep->ImportKeys(donor->SecretKeys(Address(1)), {}, keys), -7);
      EXPECT_EQ(upkeep->ListKeys(keys), -7);
    }
    EXPECT_TRUE(std::filesystem::is_symlink(ring));
    std::filesystem::remove(ring);
  }
  std::filesystem::create_symlink("aside", ring);
  profile.Import(donor->SecretKeys(Address(1)));
  EXPECT_TRUE(std::filesystem::is_symlink(ring));
  for (int i = 0; i < 2; ++i) profile.Unlock(Address(i));
}

TEST_F(RingsOnPosixTest, SurvivesBeingKilledAtAnyMoment) {
  for (int round = 0; round < 16; ++round) {
    Profile profile;
    const pid_t child = ImportInChild(profile, {0, 1, 2, 3, 4});
    usleep(static_cast<useconds_t>(round * 2000));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const auto listed = Listed(profile);
    for (std::size_t i = 0; i < listed.size(); ++i) {
      EXPECT_EQ(listed[i], Address(static_cast<int>(i)));
      if (i + 1 < listed.size()) profile.Unlock(listed[i]);
    }
    profile.Import(donor->SecretKeys(Address(4)));
    EXPECT_THAT(Listed(profile), Contains(Address(4)));
    EXPECT_EQ(FindKeyTrouble(profile.folder / "keys"), "");
  }
}

TEST_F(RingsOnPosixTest, TwoProcessesLoseNoKeyAndSeeEachOthers) {
  Profile profile;
  const pid_t other = ImportInChild(profile, {1, 3});
  for (const int i : {0, 2, 4}) profile.Import(donor->PublicKeys(Address(i)));
  waitpid(other, nullptr, 0);
  for (int i = 0; i < kKeys; ++i) EXPECT_EQ(profile.QueryKeyPair(Address(i)), 0) << i;
  EXPECT_THAT(Listed(profile), SizeIs(kKeys));
}

}  // namespace
}  // namespace corvessa::engine
