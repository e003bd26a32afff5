#include "crypto/frm_timer.h"

#include <algorithm>

#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "crypto/crypto_operations.h"
#include "crypto/temp_files.h"
#include "platform/host.h"
#include "settings/settings.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

using Lines = std::vector<std::string>;

class FrmTimer : public AddInFixture {
 protected:
  FrmTimer() {
    AllowError("DeleteTemporaryFiles: Error code: 53");
    AllowError("DeleteTemporaryFiles: Error code: 75");
    timer->Load();
    CreateCrypto();
  }
  void Tick(int seconds) {
    for (int i = 0; i < seconds; ++i) timer->tmrTimer.Tick();
  }
  std::string MakeFile(const std::string& path) {
    files.Write(path, "plain");
    return path;
  }

  NimbraAccountPtr account = UserManagement::AddNimbraAccountUser("ann@example.org");
  std::shared_ptr<frmTimer> timer = std::make_shared<frmTimer>();
};

TEST_F(FrmTimer, DeletesQueuedFilesFromTheLastOnWholeMinutes) {
  EXPECT_EQ(timer->tmrTimer.Interval(), 1000);
  const std::string temporary = platform::Host().files.TemporaryFolder();
  files.CreateFolder(temporary + "mail1");
  const std::string first = MakeFile(temporary + "mail1\\a.txt");
  const std::string gone = temporary + "gone.txt";
  // A path that the system refuses, as it does one that a program holds.
  const std::string held = temporary + std::string(300, 'x');
  const std::string last = MakeFile(temporary + "c.txt");
  for (const std::string& path : {first, gone, held, last, first}) QueueForDeletion(path);
  Tick(59);
  EXPECT_EQ(Trace(), Lines{});
  {
    const KeepQueuedFiles operation_under_way;
    Tick(1);
  }
  EXPECT_EQ(g_colTempFiles, (std::vector{first, gone, held, last}));
  Tick(60);
  EXPECT_EQ(
      Trace(),
      (Lines{"DeleteTemporaryFiles: Kill: " + last, "DeleteTemporaryFiles: Error code: 0 ()",
             "DeleteTemporaryFiles: Kill: " + held,
             "DeleteTemporaryFiles: Error code: 75 (Path/File access error)",
             "DeleteTemporaryFiles: Kill: " + gone,
             "DeleteTemporaryFiles: Error code: 53 (File not found)",
             "DeleteTemporaryFiles: Kill: " + first, "DeleteTemporaryFiles: Error code: 0 ()"}));
  EXPECT_EQ(g_colTempFiles, (std::vector{gone, held}));
  EXPECT_FALSE(files.FolderExists(temporary + "mail1"));
  EXPECT_TRUE(files.FolderExists(temporary));
}

TEST_F(FrmTimer, ForgetsPassphrasesAfterTheMinutesSinceTheLastReset) {
  const std::pair<std::int32_t, int> cases[] = {{1, 60}, {2, 120}, {0, -1}, {-1, -1}, {-7, -1}};
  for (const auto& [minutes, forgotten_after] : cases) {
    g_lPassphraseMemory = minutes;
    timer->m_lTicks = 0;
    account->m_sPassword.Assign("secret");
    account->SetAuthenticated(true);
    scripted_engine.engine->ClearCalls();
    int forgotten = -1;
    for (int second = 1; second <= 130 && forgotten < 0; ++second) {
      Tick(1);
      if (!account->GetAuthenticated()) forgotten = second;
    }
    EXPECT_EQ(forgotten, forgotten_after) << minutes;
    const bool reset = forgotten_after > 0;
    EXPECT_EQ(account->m_sPassword.IsEmpty(), reset) << minutes;
    EXPECT_EQ(timer->m_lTicks, reset ? 0 : 130) << minutes;
    EXPECT_EQ(scripted_engine.engine->Operations(), reset ? Lines{"InitEngine"} : Lines{});
  }
}

TEST_F(FrmTimer, ForgetsPassphrasesBeforeItDeletesFiles) {
  g_lPassphraseMemory = 1;
  QueueForDeletion(MakeFile(platform::Host().files.TemporaryFolder() + "a.txt"));
  const Lines calls = CallsOf([&] { Tick(60); });
  const auto engine = std::ranges::find_if(
      calls, [](const std::string& call) { return call.ends_with("InitEngine"); });
  EXPECT_LT(engine, std::ranges::find(calls, "Files::Delete"));
}

TEST_F(FrmTimer, ForgetsPassphrasesAlsoWhenTheEngineFails) {
  const Lines errors = {"frmTimer::ResetCryptoAndAccounts - gone",
                        "frmTimer::CheckResetCryptoAndAccounts - Overflow",
                        "frmTimer::tmrTimer_Timer - Overflow"};
  for (const std::string& error : errors) AllowError(error);
  account->m_sPassword.Assign("secret");
  scripted_engine.engine->Once("InitEngine", {.thrown = Error{1, "gone"}});
  timer->m_lTicks = 7;
  timer->ResetCryptoAndAccounts();
  EXPECT_TRUE(account->m_sPassword.IsEmpty());
  EXPECT_EQ(timer->m_lTicks, 0);

  g_lPassphraseMemory = 35791395;
  Tick(60);
  timer->m_lTicks = 2147483647;
  Tick(1);
  EXPECT_EQ(Trace(), errors);
}

}  // namespace
}  // namespace corvessa::testing
