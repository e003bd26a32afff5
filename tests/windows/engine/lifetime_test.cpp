#include <gtest/gtest.h>
#include <ole2.h>
#include <psapi.h>

#include "support/scripted_engine.h"
#include "windows/engine/com_engine.h"
#include "windows/engine/registered_engine.h"

// What is left of the component when its users are done with it.

namespace corvessa::windows {
namespace {

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
  void SetUp() override { user.Generate("alice@example.org"); }

  static void CreateUseAndRelease() {
    using Vector = testing::ScriptedStringVector;
    const auto engine = CreateComEngineFactory()->CreateEngine();
    std::string armoured;
    ASSERT_EQ(engine->EncryptText(Vector({"alice@example.org"}), "x", armoured), 0);
    Vector signers;
    Vector unknown;
    ASSERT_LT(engine->VerifyText(armoured, signers, unknown, armoured), 0);
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
