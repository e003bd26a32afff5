#include <gmock/gmock.h>

#include "accounts/settings.h"
#include "forms/frm_message_status.h"
#include "forms/frm_progress.h"
#include "support/addin_fixture.h"
#include "support/form_checks.h"

namespace corvessa::testing {
namespace {

using ReadingWindows = AddInFixture;

std::shared_ptr<frmMessageStatus> LoadedStatus() {
  auto form = std::make_shared<frmMessageStatus>();
  form->Load();
  return form;
}

TEST_F(ReadingWindows, StatusShowsOnePageAndListsOnlyWhereThereAreAttachments) {
  const auto form = LoadedStatus();
  ExpectGoldenForm("frmMessageStatus", *form);
  for (int i = 1; i <= 3; ++i) form->AddAttachment("e" + std::to_string(i), "s");
  form->SetOriginalMessageBody("line\r\n & line");
  form->tbsTabs.ClickTab(2);
  EXPECT_EQ(form->lvwSigning.Describe(), R"("" {"s", "s", "s"})");
  EXPECT_TRUE(form->lvwSigning.IsShown() && !form->lvwEncryption.IsShown());
  form->ShowTab(1);
  EXPECT_EQ(form->lvwEncryption.Describe(), R"("" {"e1", "e2", "e3"})");
  EXPECT_TRUE(form->lvwEncryption.IsShown() && !form->lvwSigning.IsShown());
  ExpectGoldenForm("frmMessageStatus_attachments", *form);
  form->ClearAttachments();
  EXPECT_FALSE(form->lblThisMsg1.IsShown());
  EXPECT_EQ(form->lvwSigning.RowCount(), 0);
  form->ShowTab(3);
  EXPECT_EQ(form->txtOriginalMessage.Text(), "line\r\n & line");
  EXPECT_TRUE(form->txtOriginalMessage.IsShown());
  form->cmdClose.Press();
  EXPECT_FALSE(form->IsLoaded());
}

TEST_F(ReadingWindows, StatusFitsTextFromOutsideIntoItsLabels) {
  const auto form = LoadedStatus();
  const auto fitted = [&](std::string_view text, int characters) {
    form->lblFrom.Bounds.width = characters * 6;  // six pixels a character
    form->SetFrom(text);
    return form->lblFrom.Caption();
  };
  EXPECT_EQ(fitted("Bob & Co", 8), "Bob && Co");
  EXPECT_EQ(fitted("Bob & Co", 7), "Bob ...");
  EXPECT_EQ(fitted("gr\xC3\xBC\xC3\x9F\x65 allen", 7), "gr\xC3\xBC\xC3\x9F...");
  EXPECT_EQ(fitted("abcde", 2), "...");
  EXPECT_EQ(fitted("abc", 2), "...");
  EXPECT_EQ(fitted("", 0), "");
  EXPECT_EQ(fitted("a", 0), "...");
  EXPECT_EQ(fitted(std::string(1'000'000, 'x'), 9), "xxxxxx...");
}

TEST_F(ReadingWindows, ProgressCountsItsStepsAndCannotBeClosedBeforeTheEnd) {
  const auto item = outlook.NewMail();
  for (const char* name : {"a", "b"}) item->AddAttachment({name, name, outlook.Keep(""), "", ""});
  const auto form = ProgressWindow();
  form->SetCaption("nobody waits yet");
  form->Init(item, 0);
  EXPECT_EQ(form->pgbProgress.Max, 12);
  EXPECT_EQ(ProgressWindow(), form);
  form->SetCaption("Verifying email", 10);
  form->SetCaption("two");
  form->SetCaption("three");
  form->PressCloseBox();
  ExpectGoldenForm("frmProgress", *form);
  EXPECT_EQ(form->Text1.Text().substr(form->Text1.SelStart), "(2/29/2004 11:58:07 PM) three\r\n");
  form->Finish();
  EXPECT_FALSE(form->IsLoaded());
  form->SetCaption("late");
  EXPECT_EQ(form->lblDescription.Caption(), "Finished");

  g_bDisableAutoDecryptAttachments = true;
  form->Init(item, 0);
  EXPECT_EQ(form->pgbProgress.Max, 4);
  form->Init(item, 7);
  EXPECT_EQ(form->pgbProgress.Max, 7);
  form->Finish();
}

}  // namespace
}  // namespace corvessa::testing
