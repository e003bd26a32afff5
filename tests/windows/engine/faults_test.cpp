#include <aclapi.h>
#include <atomic>
#include <gtest/gtest.h>
#include <ole2.h>
#include <sddl.h>
#include <shlobj.h>
#include <wininet.h>

#include "base/guard.h"
#include "support/scripted_engine.h"
#include "support/shell.h"
#include "system/files.h"
#include "windows/engine/com_engine.h"
#include "windows/engine/registered_engine.h"
#include "windows_engine/engine_setup.h"

// Every call of the component to the system for files, security, folders and the network fails
// once.

namespace corvessa::windows {
namespace {

using platform::EngineStatus;
using testing::ContentOf;
using testing::WriteContent;
using To = testing::ScriptedStringVector;

/// Counts down to the call that is to fail; none at 0.
std::atomic<int> g_calls_left = 0;

bool MustFail() {
  int left = g_calls_left;
  while (left > 0 && !g_calls_left.compare_exchange_weak(left, left - 1)) {
  }
  return left == 1;
}

/// The module's own pointer to a function that it imports.
void** ImportOf(HMODULE module, const char* name) {
  auto* const base = reinterpret_cast<char*>(module);
  const auto& dos = *reinterpret_cast<IMAGE_DOS_HEADER*>(base);
  const auto& headers = *reinterpret_cast<IMAGE_NT_HEADERS*>(base + dos.e_lfanew);
  const auto& directory = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  for (auto* library = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
       library->Name != 0; ++library) {
    auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
    auto* places = reinterpret_cast<void**>(base + library->FirstThunk);
    for (; names->u1.AddressOfData != 0; ++names, ++places) {
      const auto* const import =
          reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
      if (std::string_view(import->Name) == name) return places;
    }
  }
  return nullptr;
}

template <int Number, typename Result, typename... Arguments>
struct Hook {
  static inline Result(WINAPI* real)(Arguments...) = nullptr;
  static inline Result failure{};

  static Result WINAPI Call(Arguments... arguments) {
    if (!MustFail()) return real(arguments...);
    SetLastError(ERROR_IO_DEVICE);
    return failure;
  }
};

template <int Number, typename Result, typename... Arguments>
void Install(HMODULE module, const char* name, Result(WINAPI* real)(Arguments...), Result failure) {
  using Installed = Hook<Number, Result, Arguments...>;
  Installed::real = real;
  Installed::failure = failure;
  void** const place = ImportOf(module, name);
  ASSERT_NE(place, nullptr) << name;
  DWORD protection = 0;
  VirtualProtect(place, sizeof *place, PAGE_READWRITE, &protection);
  *place = reinterpret_cast<void*>(&Installed::Call);
}

void InstallAll(HMODULE module) {
#define HOOK(name, failure) Install<__COUNTER__>(module, #name, &name, failure)
  HOOK(CreateFileW, INVALID_HANDLE_VALUE);
  HOOK(ReadFile, FALSE);
  HOOK(WriteFile, FALSE);
  HOOK(FlushFileBuffers, FALSE);
  HOOK(SetFilePointerEx, FALSE);
  HOOK(GetFileInformationByHandle, FALSE);
  HOOK(SetFileInformationByHandle, FALSE);
  HOOK(MoveFileExW, FALSE);
  HOOK(LockFileEx, FALSE);
  HOOK(CreateDirectoryW, FALSE);
  HOOK(GetFullPathNameW, DWORD{0});
  HOOK(GetTempPathW, DWORD{0});
  HOOK(GetFileAttributesW, INVALID_FILE_ATTRIBUTES);
  HOOK(GetSecurityInfo, DWORD{ERROR_ACCESS_DENIED});
  HOOK(SetSecurityInfo, DWORD{ERROR_ACCESS_DENIED});
  HOOK(OpenProcessToken, FALSE);
  HOOK(GetTokenInformation, FALSE);
  HOOK(ConvertStringSecurityDescriptorToSecurityDescriptorW, FALSE);
  HOOK(CryptAcquireContextA, FALSE);
  HOOK(CreateEventW, HANDLE{nullptr});
  HOOK(CoCreateGuid, HRESULT{E_FAIL});
  HOOK(SHGetFolderPathW, HRESULT{E_FAIL});
  HOOK(InternetOpenW, HINTERNET{nullptr});
  HOOK(InternetConnectW, HINTERNET{nullptr});
  HOOK(HttpOpenRequestW, HINTERNET{nullptr});
  HOOK(HttpSendRequestW, FALSE);
  HOOK(HttpQueryInfoW, FALSE);
  HOOK(InternetQueryDataAvailable, FALSE);
  HOOK(InternetReadFile, FALSE);
#undef HOOK
}

/// The key server of the Linux side's Python, which answers every look-up with the same key.
class KeyServer {
 public:
  explicit KeyServer(const std::string& key) {
    std::filesystem::create_directory(folder_ / "pks");
    WriteContent(folder_ / "pks/lookup", key);
    testing::RunShell("cd " + testing::ShellPath(folder_.Path()) +
                      "; timeout 600 python3 -u -m http.server --bind 127.0.0.1 0 >log 2>&1 &"
                      " echo $! >pid; until grep -q port log; do sleep 0.1; done");
    const std::string log = ContentOf(folder_ / "log");
    port_ = std::to_string(std::stoi(log.substr(log.find("port ") + 5)));
  }
  ~KeyServer() { testing::RunShell("kill " + ContentOf(folder_ / "pid")); }
  KeyServer(const KeyServer&) = delete;
  KeyServer& operator=(const KeyServer&) = delete;

  std::string Url() const { return "http://127.0.0.1:" + port_; }

 private:
  testing::TempFolder folder_;
  std::string port_;
};

struct Operation {
  const char* name;
  std::function<EngineStatus()> call;
  /// What the call must have brought about if it says that it is done.
  std::function<bool()> is_done = [] { return true; };
  bool looks_up = false;
};

class FaultsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    user.Generate(kAlice);
    engine::EngineConfig config = UserEngineConfig();
    config.rings_folder = user.folder / "carol";
    config.passphrase_work = 1U << 16;
    const auto donor = engine::CreateOpenPgpEngine(config);
    engine::KeyInfo made;
    ASSERT_EQ(donor->GenerateKey("", kCarol, "secret", made), 0);
    ASSERT_EQ(donor->ExportPublicKeys(kCarol, carols_key), 0);
    const HMODULE module = LoadLibraryW(WindowsPath(CORVESSA_ENGINE_DLL).c_str());
    ASSERT_NE(module, nullptr);
    InstallAll(module);
    keys = RegisteredKeys();
    WriteContent(user.folder / "plain", "data");
  }

  void Open() {
    engine = CreateComEngineFactory()->CreateEngine();
    EXPECT_EQ(engine->AuthenticateAccount(kAlice, "secret"), 0);
  }
  /// What the next call needs. That it succeeds shows that the failure before did no harm.
  void Prepare() {
    EXPECT_EQ(engine->EncryptText(To({kAlice}), "text", armoured), 0);
    EXPECT_EQ(engine->EncryptFileToFile(To({kAlice}), plain, encrypted), 0);
  }

  /// The number of calls to the system.
  int Sweep(const Operation& operation, const KeyServer& server) {
    Open();
    for (int n = 1;; ++n) {
      SCOPED_TRACE(std::string(operation.name) + ", call " + std::to_string(n) + " fails");
      // An engine looks an address up only once.
      if (operation.looks_up) Open();
      Prepare();
      if (operation.looks_up) engine->SetOption("lookupKeyservers", server.Url());
      const std::string before = ContentOf(encrypted);
      EngineStatus status = -11;
      g_calls_left = n;
      Attempt([&] { status = operation.call(); });
      const bool has_failed = g_calls_left.exchange(0) == 0;
      EXPECT_TRUE(status != 0 || operation.is_done());
      const std::string after = ContentOf(encrypted);
      EXPECT_TRUE(after == before || after == "data");
      EXPECT_EQ(engine::FindKeyTrouble(UserEngineConfig().rings_folder), "");
      if (has_failed && !::testing::Test::HasFailure()) continue;
      EXPECT_EQ(status, 0);
      return n - 1;
    }
  }

  static constexpr const char* kAlice = "alice@example.org";
  static constexpr const char* kCarol = "carol@example.org";
  RegisteredEngine user;
  std::string carols_key;
  platform::EnginePtr engine;
  std::shared_ptr<engine::KeyUpkeep> keys;
  const std::string plain = system::PathText(user.folder / "plain");
  const std::string encrypted = system::PathText(user.folder / "encrypted");
  std::string armoured;
};

TEST_F(FaultsTest, EveryFailureOfTheSystemIsAnAnswer) {
  const KeyServer server(carols_key);
  std::string result;
  std::vector<engine::KeyInfo> imported;
  const std::vector<Operation> operations = {
      {"creation", [] { return CreateComEngineFactory()->CreateEngine() ? 0 : -11; }},
      {"DecryptTextEx", [&] { return engine->DecryptTextEx(armoured, nullptr, result); },
       [&] { return result == "text"; }},
      {"EncryptText with a look-up",
       [&] {
         return engine->EncryptText(To({kAlice, kCarol}), "x", result);
       },
       [&] { return result.starts_with("-----BEGIN PGP MESSAGE"); }, true},
      {"EncryptFileToFile",
       [&] { return engine->EncryptFileToFile(To({kAlice}), plain, encrypted + "2"); }},
      {"DecryptFileEx", [&] { return engine->DecryptFileEx(encrypted, nullptr); },
       [&] { return ContentOf(encrypted) == "data"; }},
      {"SignFile",
       [&] {
         const auto status = engine->SignFile(plain, result);
         if (status == 0) std::filesystem::remove(result);
         return status;
       }},
      {"GetAddressADKs",
       [&] {
         To found;
         return engine->GetAddressADKs(kAlice, found);
       }},
      {"ImportKeys", [&] { return keys->ImportKeys(carols_key, {}, imported); }},
      {"RemoveKeys", [&] {
         // Only the DLL's calls fail.
         EXPECT_EQ(user.OpenDirectly()->ImportKeys(carols_key, {}, imported), 0);
         return keys->RemoveKeys(kCarol);
       }}};
  int calls = 0;
  for (const auto& operation : operations) calls += Sweep(operation, server);
  EXPECT_GT(calls, 100);
  RecordProperty("failed_calls", calls);
}

}  // namespace
}  // namespace corvessa::windows
