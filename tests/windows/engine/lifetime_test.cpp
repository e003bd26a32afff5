#include <gtest/gtest.h>
#include <ole2.h>
#include <psapi.h>

#include "idl/engine.h"
#include "windows/com/bstr.h"
#include "windows/com/create.h"
#include "windows/com/errors.h"
#include "windows/engine/registered_engine.h"

// What is left of the component when its users are done with it.

namespace corvessa::windows {
namespace {

using com::Bstr;
using Microsoft::WRL::ComPtr;

std::size_t PrivateBytes() {
  PROCESS_MEMORY_COUNTERS counters = {};
  EXPECT_TRUE(GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters));
  return counters.PagefileUsage;
}

/// The system gives the lowest number that is free.
std::uintptr_t NextHandle() {
  const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  CloseHandle(event);
  return reinterpret_cast<std::uintptr_t>(event);
}

class LifetimeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    engine::KeyInfo made;
    const auto tool = RegisteredEngine::OpenDirectly();
    ASSERT_EQ(tool->GenerateKey("", "alice@example.org", "secret", made), 0);
  }

  static void CreateUseAndRelease() {
    const auto engine =
        com::CreateByProgId<INimbraEncryptionEngine>(L"NimbraEncryptionEngine.Engine");
    const auto recipients =
        com::CreateByProgId<IEngineStringVector>(L"NimbraEncryptionEngine.StringVector");
    com::Check(recipients->Add(Bstr("alice@example.org").Get()));
    Bstr armoured;
    LONG status = 99;
    com::Check(engine->EncryptText(recipients.Get(), Bstr("x").Get(), armoured.Receive(), &status));
    ASSERT_EQ(status, 0);
    ComPtr<IEngineStringVector> signers;
    ComPtr<IEngineStringVector> unknown;
    Bstr content;
    com::Check(engine->VerifyText(armoured.Get(), signers.GetAddressOf(), unknown.GetAddressOf(),
                                  content.Receive(), &status));
    ASSERT_LT(status, 0);
  }

  RegisteredEngine user;
};

TEST_F(LifetimeTest, AThousandUsesLeaveNothingBehind) {
  for (int i = 0; i < 100; ++i) CreateUseAndRelease();
  const std::size_t bytes = PrivateBytes();
  const auto handle = NextHandle();
  for (int i = 0; i < 1000; ++i) CreateUseAndRelease();
  EXPECT_EQ(NextHandle(), handle);
  EXPECT_LT(PrivateBytes(), bytes + (std::size_t{1} << 20));
  RecordProperty("grown_bytes", std::to_string(PrivateBytes() - bytes));
}

TEST_F(LifetimeTest, TheDllIsUnloadedAndLoadedAgain) {
  std::size_t bytes = 0;
  for (int i = 0; i < 30; ++i) {
    CreateUseAndRelease();
    CoFreeUnusedLibrariesEx(0, 0);
    EXPECT_EQ(GetModuleHandleW(L"corvessa_engine.dll"), nullptr);
    if (i == 10) bytes = PrivateBytes();
  }
  EXPECT_LT(PrivateBytes(), bytes + (std::size_t{2} << 20));
}

}  // namespace
}  // namespace corvessa::windows
