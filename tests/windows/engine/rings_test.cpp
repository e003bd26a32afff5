#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <ole2.h>
#include <set>

#include "support/scripted_engine.h"
#include "windows/engine/com_engine.h"
#include "windows/engine/registered_engine.h"
#include "windows_engine/engine_setup.h"

// The rings under several programs: the component in one, the tool or another one beside it.

namespace corvessa::windows {
namespace {

constexpr int kKeysOfEach = 3;
constexpr int kChangesOfEach = 100;

std::string Address(char owner, int number) {
  return owner + std::to_string(number) + "@example.org";
}

/// Where a test leaves the public key of an address for the programs that change the rings.
std::string KeyOf(const std::string& address) {
  return testing::ContentOf(DataFolder() / (address + ".asc"));
}

/// Takes each key of the owner out of the rings and puts it in again, in turn; all are there after
/// an even number of changes. The first failure as text, or empty.
std::string ChangeRings(char owner, int changes) {
  const auto keys = RegisteredKeys();
  for (int i = 0; i < changes; ++i) {
    const std::string address = Address(owner, (i / 2) % kKeysOfEach);
    const bool adds = i % 2 == 1;
    std::vector<engine::KeyInfo> imported;
    std::string armoured;
    const auto status =
        adds ? keys->ImportKeys(KeyOf(address), {}, imported) : keys->RemoveKeys(address);
    if (status != 0) return address + ": " + std::to_string(status);
    if ((keys->ExportPublicKeys(address, armoured) == 0) != adds) return address + " has changed";
  }
  return {};
}

/// A program that runs beside this one, ended with its object.
class Program {
 public:
  explicit Program(std::wstring command_line) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    EXPECT_TRUE(CreateProcessW(nullptr, command_line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &startup, &started_));
  }
  ~Program() {
    TerminateProcess(started_.hProcess, 99);
    Wait();
    CloseHandle(started_.hThread);
    CloseHandle(started_.hProcess);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// The exit code.
  DWORD Wait() {
    DWORD code = 0;
    WaitForSingleObject(started_.hProcess, INFINITE);
    GetExitCodeProcess(started_.hProcess, &code);
    return code;
  }
  bool IsRunning() const { return WaitForSingleObject(started_.hProcess, 0) == WAIT_TIMEOUT; }

 private:
  PROCESS_INFORMATION started_ = {};
};

DWORD RunKeyTool(const std::wstring& arguments) {
  return Program(L"\"" + WindowsPath(CORVESSA_KEY_TOOL) + L"\" " + arguments).Wait();
}

constexpr wchar_t kChangesVariable[] = L"CORVESSA_TEST_CHANGES";

/// The command for this program to make changes in a process of its own.
std::wstring RingChanger(int changes) {
  SetEnvironmentVariableW(kChangesVariable, std::to_wstring(changes).c_str());
  return L"\"" + std::filesystem::path(::testing::internal::GetArgvs()[0]).wstring() +
         L"\" --gtest_also_run_disabled_tests --gtest_filter=RingChanger.*";
}

TEST(RingChanger, DISABLED_ChangesTheRingsInAnotherProcess) {
  const wchar_t* const changes = _wgetenv(kChangesVariable);
  if (changes == nullptr) GTEST_SKIP();
  ASSERT_EQ(CoInitialize(nullptr), S_OK);
  EXPECT_EQ(ChangeRings('b', std::stoi(changes)), "");
}

class RingsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    engine::EngineConfig config = UserEngineConfig();
    config.rings_folder = user.folder / "donor";
    config.passphrase_work = 1U << 16;
    const auto donor = engine::CreateOpenPgpEngine(config);
    user.Generate("kept@example.org");
    all.insert("kept@example.org");
    for (int i = 0; i < kKeysOfEach; ++i) {
      for (const char owner : {'a', 'b'}) {
        const std::string address = Address(owner, i);
        engine::KeyInfo made;
        std::string key;
        ASSERT_EQ(donor->GenerateKey("", address, "secret", made), 0);
        ASSERT_EQ(donor->ExportPublicKeys(address, key), 0);
        testing::WriteContent(DataFolder() / (address + ".asc"), key);
        Import(address);
        all.insert(address);
      }
    }
  }
  void Import(const std::string& address) {
    std::vector<engine::KeyInfo> imported;
    EXPECT_EQ(user.OpenDirectly()->ImportKeys(KeyOf(address), {}, imported), 0);
  }
  /// The addresses in the rings, which must be whole.
  static std::set<std::string> Addresses() {
    std::vector<engine::KeyInfo> keys;
    EXPECT_EQ(RegisteredEngine::OpenDirectly()->ListKeys(keys), 0);
    EXPECT_EQ(engine::FindKeyTrouble(UserEngineConfig().rings_folder), "");
    std::set<std::string> addresses;
    for (const auto& key : keys) addresses.insert(key.addresses.begin(), key.addresses.end());
    return addresses;
  }

  RegisteredEngine user;
  std::set<std::string> all;
};

TEST_F(RingsTest, TwoProgramsThatChangeThemLoseNothing) {
  Program other(RingChanger(kChangesOfEach));
  EXPECT_EQ(ChangeRings('a', kChangesOfEach), "");
  EXPECT_EQ(other.Wait(), 0U);
  EXPECT_EQ(Addresses(), all);
}

TEST_F(RingsTest, AProgramThatIsKilledLeavesThemWhole) {
  for (DWORD i = 0; i < 20; ++i) {
    {
      const Program other(RingChanger(100'000));
      Sleep(300 + i * 23);
      EXPECT_TRUE(other.IsRunning());
    }
    const auto found = Addresses();
    // The one that was being changed may be out.
    EXPECT_GE(found.size() + 1, all.size()) << i;
    EXPECT_TRUE(std::ranges::includes(all, found));
    EXPECT_EQ(user.OpenDirectly()->AuthenticateAccount("kept@example.org", "secret"), 0);
    for (int key = 0; key < kKeysOfEach; ++key) Import(Address('b', key));
    EXPECT_EQ(Addresses(), all);
  }
}

TEST_F(RingsTest, TheToolsChangesAreSeenByARunningComponentAtItsNextCall) {
  const auto engine = CreateComEngineFactory()->CreateEngine();
  std::string text;
  EXPECT_EQ(engine->QueryKeyPair("carol@example.org", text), -13);
  testing::WriteContent(user.folder / "passphrase", "secret\n");
  const std::wstring file = (user.folder / "passphrase").wstring();
  EXPECT_EQ(RunKeyTool(L"key generate carol@example.org --passphrase-file " + file), 0U);
  EXPECT_EQ(engine->QueryKeyPair("carol@example.org", text), 0);
  EXPECT_EQ(engine->AuthenticateAccount("carol@example.org", "secret"), 0);
  EXPECT_EQ(RunKeyTool(L"key generate carol"), 2U);
  EXPECT_EQ(RunKeyTool(L"key export nobody@example.org"), 1U);
}

}  // namespace
}  // namespace corvessa::windows
