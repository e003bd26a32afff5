#include "support/addin_fixture.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "accounts/settings.h"
#include "accounts/user_management.h"
#include "addin/debug_info.h"
#include "forms/form.h"

namespace corvessa::testing {
namespace {

using ScriptedFixtureTest = AddInFixture;

class RealFixtureTest : public AddInFixture {
 protected:
  RealFixtureTest() : AddInFixture({.engine = EngineChoice::kReal}) {}
};

TEST_F(ScriptedFixtureTest, FindsPlantedText) {
  files.CreateFolder("c:\\Temp\\a");
  files.Write("c:\\Temp\\a\\leak.txt", "so CANARY-1 it is");
  registry.WriteString("HKEY_CURRENT_USER\\Leak", "Text", "CANARY-1");
  EXPECT_EQ(FilesHolding("CANARY-1"),
            (std::vector<std::string>{"drive_c/Temp/a/leak.txt", "registry.reg"}));
  EXPECT_EQ(FilesHolding("CANARY-2"), std::vector<std::string>{});
  EXPECT_EQ(TemporaryFiles(), std::vector<std::string>{"a/leak.txt"});
}

TEST_F(ScriptedFixtureTest, FailsATestForEachErrorLine) {
  for (const std::string error : {"Some::Routine - ", "Module:Routine - ", ": Routine - ",
                                  ":DoLogin - ", "Customize: Error "}) {
    Debug_Info::TraceLog(error + "two\r\nlines");
    EXPECT_EQ(UnexpectedErrors(), std::vector<std::string>{error + "two\r\nlines"});
    AllowError(error);
  }
  Debug_Info::TraceLog("a - b: no error");
}

TEST_F(RealFixtureTest, StartsTheAddInOverTheRealEngine) {
  engine::KeyInfo made;
  ASSERT_EQ(Keys().GenerateKey("Ann", "ann@example.org", "CANARY-pass", made), 0);
  StoreAccount("ann@example.org", true);
  outlook.AddExplorer();
  ConnectAddIn();
  EXPECT_EQ(UserManagement::GetKeyPairCount(nullptr), 1);
  EXPECT_EQ(ui.Shown().front(), "frmSplashScreen");
  DisconnectAddIn();
  const std::vector<std::string> trace = Trace();
  ASSERT_GE(trace.size(), 2U);
  EXPECT_EQ(trace[trace.size() - 2], "Closedown");
  EXPECT_EQ(LoadedForms().size(), 0U);
  EXPECT_EQ(FilesHolding("CANARY-pass"), std::vector<std::string>{});
}

TEST_F(ScriptedFixtureTest, NoFailedPlatformCallGetsPastStartUpOrCloseDown) {
  outlook.AddExplorer();
  ui.AllowEverything();
  AllowError("");
  // Until the run in which no call is left to fail.
  std::size_t failed_calls = 0;
  for (std::size_t n = 1;; ++n) {
    StoreAccount("ann@example.org", true);
    StoreAccount("ann@example.net");
    faults.FailAt(n);
    EXPECT_NO_THROW(ConnectAddIn()) << n << " " << faults.Failed();
    EXPECT_NO_THROW(DisconnectAddIn()) << n << " " << faults.Failed();
    EXPECT_EQ(LoadedForms().size(), 0U) << n << " " << faults.Failed();
    // A list that the registry does not give counts as empty, and the dialog that is offered then
    // saves it so.
    if (!faults.Failed().starts_with("RegistryKey::")) {
      EXPECT_EQ(StoredAccounts(),
                (std::vector<std::string>{"ann@example.org (signs)", "ann@example.net"}))
          << n << " " << faults.Failed();
    }
    if (faults.Failed().empty()) break;
    ++failed_calls;
  }
  EXPECT_GT(failed_calls, 50U);
}

}  // namespace
}  // namespace corvessa::testing
