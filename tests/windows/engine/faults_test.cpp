#include <aclapi.h>
#include <atomic>
#include <gtest/gtest.h>
#include <ole2.h>
#include <sddl.h>
#include <shlobj.h>
#include <wininet.h>

#include "idl/engine.h"
#include "system/files.h"
#include "windows/com/bstr.h"
#include "windows/com/create.h"
#include "windows/com/errors.h"
#include "windows/engine/key_server.h"
#include "windows/engine/registered_engine.h"
#include "windows_engine/engine_setup.h"

// Every call of the component to the system for files, security, folders and the network fails
// once.

namespace corvessa::windows {
namespace {

using com::Bstr;
using Microsoft::WRL::ComPtr;

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

/// One object of the component with what its calls use and answer.
struct Session {
  ComPtr<INimbraEncryptionEngine> engine;
  ComPtr<INimbraKeyUpkeep> upkeep;
  ComPtr<IEngineStringVector> recipients;
  std::string path;
  std::string encrypted;
  std::string armoured;
  std::string result;
};

struct Operation {
  const char* name;
  /// Returns the HRESULT; the status comes out.
  std::function<HRESULT(Session&, LONG& status)> call;
  /// What the call must have brought about if it says that it is done.
  std::function<bool(const Session&)> is_done = [](const Session&) { return true; };
  bool looks_up = false;
};

class FaultsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto tool = RegisteredEngine::OpenDirectly();
    engine::KeyInfo made;
    ASSERT_EQ(tool->GenerateKey("", "alice@example.org", "secret", made), 0);
    engine::EngineConfig config = UserEngineConfig();
    config.rings_folder = user.folder / "carol";
    const auto carol = engine::CreateOpenPgpEngine(config);
    ASSERT_EQ(carol->GenerateKey("", "carol@example.org", "secret", made), 0);
    ASSERT_EQ(carol->ExportPublicKeys("carol@example.org", carols_key), 0);
    module = LoadLibraryW(WindowsPath(CORVESSA_ENGINE_DLL).c_str());
    ASSERT_NE(module, nullptr);
    InstallAll(module);
  }

  void Open(Session& session) const {
    session.engine = com::CreateByProgId<INimbraEncryptionEngine>(L"NimbraEncryptionEngine.Engine");
    com::Check(session.engine.As(&session.upkeep));
    session.recipients =
        com::CreateByProgId<IEngineStringVector>(L"NimbraEncryptionEngine.StringVector");
    com::Check(session.recipients->Add(Bstr("alice@example.org").Get()));
    LONG status = 99;
    com::Check(session.engine->AuthenticateAccount(Bstr("alice@example.org").Get(),
                                                   Bstr("secret").Get(), &status));
    EXPECT_EQ(status, 0);
    session.path = system::PathText(user.folder / "plain");
    testing::WriteContent(user.folder / "plain", "data");
    session.encrypted = system::PathText(user.folder / "encrypted");
  }

  /// What the next call needs. That it succeeds shows that the failure before did no harm.
  static void Prepare(Session& session) {
    LONG status = 99;
    Bstr armoured;
    com::Check(session.engine->EncryptText(session.recipients.Get(), Bstr("text").Get(),
                                           armoured.Receive(), &status));
    EXPECT_EQ(status, 0);
    session.armoured = armoured.Text();
    Bstr place(session.encrypted);
    com::Check(session.engine->EncryptFileToFile(session.recipients.Get(), Bstr(session.path).Get(),
                                                 place.Exchange(), &status));
    EXPECT_EQ(status, 0);
  }

  /// The number of calls to the system.
  int Sweep(const Operation& operation, const KeyServer& server) const {
    Session session;
    Open(session);
    for (int n = 1;; ++n) {
      SCOPED_TRACE(std::string(operation.name) + ", call " + std::to_string(n) + " fails");
      // An engine looks an address up only once.
      if (operation.looks_up) Open(session);
      Prepare(session);
      if (operation.looks_up) {
        com::Check(
            session.engine->SetOption(Bstr("lookupKeyservers").Get(), Bstr(server.Url()).Get()));
      }
      const std::string before = testing::ContentOf(user.folder / "encrypted");
      LONG status = 99;
      g_calls_left = n;
      const HRESULT answer = operation.call(session, status);
      const bool has_failed = g_calls_left.exchange(0) == 0;
      EXPECT_NE(status, 99);
      EXPECT_TRUE(SUCCEEDED(answer) || status == -11);
      EXPECT_TRUE(status != 0 || operation.is_done(session));
      const std::string after = testing::ContentOf(user.folder / "encrypted");
      EXPECT_TRUE(after == before || after == "data");
      EXPECT_EQ(engine::FindKeyTrouble(UserEngineConfig().rings_folder), "");
      if (has_failed && !::testing::Test::HasFailure()) continue;
      EXPECT_EQ(status, 0);
      return n - 1;
    }
  }

  RegisteredEngine user;
  std::string carols_key;
  HMODULE module = nullptr;
};

TEST_F(FaultsTest, EveryFailureOfTheSystemIsAnAnswer) {
  const KeyServer server(carols_key);
  const auto take = [](Bstr& text, Session& session, LONG status) {
    if (status == 0) session.result = text.Text();
  };
  const std::vector<Operation> operations = {
      {"creation",
       [](Session&, LONG& status) {
         try {
           com::CreateByProgId<INimbraEncryptionEngine>(L"NimbraEncryptionEngine.Engine");
           status = 0;
         } catch (const Error&) {
           status = -11;
         }
         return S_OK;
       }},
      {"DecryptTextEx",
       [&](Session& session, LONG& status) {
         Bstr plain;
         const HRESULT answer = session.engine->DecryptTextEx(Bstr(session.armoured).Get(), nullptr,
                                                              plain.Receive(), &status);
         take(plain, session, status);
         return answer;
       },
       [](const Session& session) { return session.result == "text"; }},
      {"EncryptText with a look-up",
       [&](Session& session, LONG& status) {
         com::Check(session.recipients->Add(Bstr("carol@example.org").Get()));
         Bstr armoured;
         const HRESULT answer = session.engine->EncryptText(
             session.recipients.Get(), Bstr("x").Get(), armoured.Receive(), &status);
         take(armoured, session, status);
         return answer;
       },
       [](const Session& session) { return session.result.starts_with("-----BEGIN PGP MESSAGE"); },
       true},
      {"EncryptFileToFile",
       [](Session& session, LONG& status) {
         Bstr place;
         const HRESULT answer = session.engine->EncryptFileToFile(
             session.recipients.Get(), Bstr(session.path).Get(), place.Exchange(), &status);
         DeleteFileW(place.Get());
         return answer;
       }},
      {"DecryptFileEx",
       [](Session& session, LONG& status) {
         return session.engine->DecryptFileEx(Bstr(session.encrypted).Get(), nullptr, &status);
       },
       [&](const Session&) { return testing::ContentOf(user.folder / "encrypted") == "data"; }},
      {"SignFile",
       [](Session& session, LONG& status) {
         Bstr signature;
         const HRESULT answer =
             session.engine->SignFile(Bstr(session.path).Get(), signature.Receive(), &status);
         DeleteFileW(signature.Get());
         return answer;
       }},
      {"GetAddressADKs",
       [](Session& session, LONG& status) {
         ComPtr<IEngineStringVector> found;
         return session.engine->GetAddressADKs(Bstr("alice@example.org").Get(),
                                               found.GetAddressOf(), &status);
       }},
      {"ImportKeys",
       [&](Session& session, LONG& status) {
         SAFEARRAY* const bytes =
             SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(carols_key.size()));
         carols_key.copy(static_cast<char*>(bytes->pvData), carols_key.size());
         ComPtr<IEngineStringVector> imported;
         const HRESULT answer =
             session.upkeep->ImportKeys(bytes, nullptr, imported.GetAddressOf(), &status);
         SafeArrayDestroy(bytes);
         return answer;
       }},
      {"RemoveKeys", [&](Session& session, LONG& status) {
         // Only the DLL's calls fail.
         std::vector<engine::KeyInfo> imported;
         const auto tool = RegisteredEngine::OpenDirectly();
         EXPECT_EQ(tool->ImportKeys(carols_key, nullptr, imported), 0);
         return session.upkeep->RemoveKeys(Bstr("carol@example.org").Get(), &status);
       }}};
  int calls = 0;
  for (const auto& operation : operations) calls += Sweep(operation, server);
  EXPECT_GT(calls, 100);
  RecordProperty("failed_calls", calls);
}

}  // namespace
}  // namespace corvessa::windows
