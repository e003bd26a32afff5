#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <vector>

#include "windows/engine/programs.h"
#include "windows/engine/registered_engine.h"
#include "windows/engine/upkeep.h"

// The rings under several programs: the component in one, the tool or another one beside it.

namespace corvessa::windows {
namespace {

using com::Bstr;

constexpr int kChangesOfEach = 100;

std::wstring RingChanger(int changes) {
  return L"\"" + WindowsPath(CORVESSA_RING_CHANGER) + L"\" " + std::to_wstring(changes);
}

void Generate(engine::OpenPgpEngine& engine, const std::string& address) {
  engine::KeyInfo made;
  ASSERT_EQ(engine.GenerateKey("", address, "secret", made), 0) << engine.GetEngineLastError();
}

std::set<std::string> Addresses(engine::OpenPgpEngine& engine) {
  std::vector<engine::KeyInfo> keys;
  EXPECT_EQ(engine.ListKeys(keys), 0) << engine.GetEngineLastError();
  std::set<std::string> addresses;
  for (const auto& key : keys) addresses.insert(key.addresses.begin(), key.addresses.end());
  return addresses;
}

std::string PublicKey(engine::OpenPgpEngine& engine, const std::string& address) {
  std::string armoured;
  EXPECT_EQ(engine.ExportPublicKeys(address, armoured), 0) << address;
  return armoured;
}

class RingsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    engine::EngineConfig config = UserEngineConfig();
    config.rings_folder = user.folder / "donor";
    const auto donor = engine::CreateOpenPgpEngine(config);
    const auto tool = RegisteredEngine::OpenDirectly();
    Generate(*tool, "kept@example.org");
    all.insert("kept@example.org");
    for (int i = 0; i < kKeysOfEach; ++i) {
      for (const char owner : {'a', 'b'}) {
        const std::string address = Address(owner, i);
        Generate(*donor, address);
        testing::WriteContent(KeyFile(address), PublicKey(*donor, address));
        EXPECT_EQ(Import(*tool, address), 0);
        all.insert(address);
      }
    }
  }
  static platform::EngineStatus Import(engine::OpenPgpEngine& engine, const std::string& address) {
    std::vector<engine::KeyInfo> imported;
    return engine.ImportKeys(testing::ContentOf(KeyFile(address)), nullptr, imported);
  }

  RegisteredEngine user;
  std::set<std::string> all;
};

TEST_F(RingsTest, TwoProgramsThatChangeThemLoseNothing) {
  Upkeep upkeep;
  Program other(RingChanger(kChangesOfEach));
  EXPECT_EQ(upkeep.Change('a', kChangesOfEach), "");
  EXPECT_EQ(other.Wait(), 0U);
  EXPECT_EQ(Addresses(*RegisteredEngine::OpenDirectly()), all);
  EXPECT_EQ(engine::FindKeyTrouble(UserEngineConfig().rings_folder), "");
}

TEST_F(RingsTest, AProgramThatIsKilledLeavesThemWhole) {
  for (DWORD i = 0; i < 20; ++i) {
    {
      const Program other(RingChanger(100'000));
      Sleep(300 + i * 23);
      EXPECT_TRUE(other.IsRunning());
    }
    const auto engine = RegisteredEngine::OpenDirectly();
    const auto found = Addresses(*engine);
    // The one that was being changed may be out.
    EXPECT_GE(found.size() + 1, all.size()) << i;
    EXPECT_TRUE(std::ranges::includes(all, found));
    EXPECT_EQ(engine::FindKeyTrouble(UserEngineConfig().rings_folder), "");
    EXPECT_EQ(engine->AuthenticateAccount("kept@example.org", "secret"), 0);
    for (int key = 0; key < kKeysOfEach; ++key) EXPECT_EQ(Import(*engine, Address('b', key)), 0);
    EXPECT_EQ(Addresses(*engine), all);
  }
}

TEST_F(RingsTest, TheToolsChangesAreSeenByARunningComponentAtItsNextCall) {
  const auto engine =
      com::CreateByProgId<INimbraEncryptionEngine>(L"NimbraEncryptionEngine.Engine");
  const auto status_of = [&](const std::string& address) {
    Bstr text;
    LONG status = 99;
    com::Check(engine->QueryKeyPair(Bstr(address).Get(), text.Receive(), &status));
    return status;
  };
  EXPECT_EQ(status_of("carol@example.org"), -13);
  testing::WriteContent(user.folder / "passphrase", "secret\n");
  const std::wstring file = (user.folder / "passphrase").wstring();
  EXPECT_EQ(Program(KeyTool(L"key generate carol@example.org --passphrase-file " + file)).Wait(),
            0U);
  EXPECT_EQ(status_of("carol@example.org"), 0);
  LONG status = 99;
  com::Check(
      engine->AuthenticateAccount(Bstr("carol@example.org").Get(), Bstr("secret").Get(), &status));
  EXPECT_EQ(status, 0);
  EXPECT_EQ(Program(KeyTool(L"key generate carol")).Wait(), 2U);
  EXPECT_EQ(Program(KeyTool(L"key export nobody@example.org")).Wait(), 1U);
}

}  // namespace
}  // namespace corvessa::windows
