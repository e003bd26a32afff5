#include <gmock/gmock.h>

#include "addin/temp_files.h"
#include "forms/frm_progress.h"
#include "support/reading_fixture.h"

namespace corvessa::testing {
namespace {

using ::testing::IsEmpty;

/// A message is opened and closed once for each platform call of that, which then fails.
TEST_F(ReadingFixture, NoFailingCallWhileReadingLosesOrLeaksAnything) {
  const std::string armour = Encrypted(Signed("canary body\r\n"));
  const std::string report = "canary report";
  const std::vector<std::pair<std::string, std::string>> attachments = {
      {"report.pdf", EncryptedFile(report)}, {"report.pdf.sig", SignatureOf(report)}};
  const auto item = Received(armour, attachments);
  ConnectAddIn();
  ExpectLogin(kAnnsPassphrase);
  outlook.Close(outlook.Open(item));
  SetPreference("LogDebuggingInfo", 0);
  AllowError("");
  ui.AllowEverything();

  const auto open_and_close = [&] {
    if (const auto window = outlook.Open(item)) outlook.Close(window);
  };
  std::size_t swept = 0;
  for (std::size_t n = 1;; ++n) {
    faults.FailAt(n);
    open_and_close();
    const std::string failed = faults.Failed();
    faults.FailAt(0);
    SCOPED_TRACE(failed);
    EXPECT_EQ(*item->Stored()->body, armour);
    EXPECT_EQ(AttachmentsOf(*item), attachments);
    EXPECT_EQ(item->SavesByAddIn(), 0);
    EXPECT_FALSE(ProgressWindow()->IsLoaded());
    // What could not be deleted is known to the queue, and goes with its next round.
    for (const std::string& path : std::vector<std::string>(g_colTempFiles)) DeleteOrQueue(path);
    EXPECT_THAT(TemporaryFiles(), IsEmpty());
    EXPECT_THAT(g_colTempFiles, IsEmpty());
    EXPECT_THAT(FilesHolding("canary"), IsEmpty());
    if (failed.empty() || HasFailure()) break;
    ++swept;
  }
  EXPECT_GT(swept, 150U);
  const auto window = outlook.Open(item);
  EXPECT_EQ(*item->Data().body, "canary body\r\n");
}

}  // namespace
}  // namespace corvessa::testing
