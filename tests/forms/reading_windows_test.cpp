#include <gmock/gmock.h>

#include "accounts/settings.h"
#include "forms/frm_message_status.h"
#include "forms/frm_progress.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

using ReadingWindows = AddInFixture;

constexpr std::string_view kStatusHead =
    "  Image imgLogoImage [7 7 406 48] \"c:\\Corvessa\\Customization\\48hLogo.gif\"\n"
    "  Label Label1 [7 62 50 13] \"From:\"\n";

std::shared_ptr<frmMessageStatus> LoadedStatus() {
  auto form = std::make_shared<frmMessageStatus>();
  form->Load();
  return form;
}

TEST_F(ReadingWindows, StatusShowsOnePageAndListsOnlyWhereThereAreAttachments) {
  const auto form = LoadedStatus();
  const std::string head = "frmMessageStatus \"Message Information\" ";
  EXPECT_EQ(form->Dump(),
            head + "420x420\n" + std::string(kStatusHead) +
                "  Label lblFrom [62 62 351 13] \"\"\n"
                "  Label Label2 [7 80 50 13] \"Subject:\"\n"
                "  Label lblSubject [62 80 351 13] \"\"\n"
                "  Label Label3 [7 98 50 13] \"Date:\"\n"
                "  Label lblDate [62 98 351 13] \"\"\n"
                "  TabStrip tbsTabs [7 118 406 265] {>\"Encryption\", \"Digital signatures\", "
                "\"Original message\"}\n"
                "  Frame fraTab(0) [14 142 392 234] \"\"\n"
                "  Label lblEncrypted [21 149 378 13] \"This message\"\n"
                "  Label lblThisMsg1 [21 169 378 13] \"This message has the following "
                "attachments:\" hidden\n"
                "  ListView lvwEncryption [21 187 378 182] \"\" {} hidden\n"
                "  Frame fraTab(1) [14 142 392 234] \"\" hidden\n"
                "  Label lblSigned [21 149 378 13] \"This message\" hidden\n"
                "  Label lblThisMsg2 [21 169 378 13] \"This message has the following "
                "attachments:\" hidden\n"
                "  ListView lvwSigning [21 187 378 182] \"\" {} hidden\n"
                "  Frame fraTab(2) [14 142 392 234] \"\" hidden\n"
                "  TextBox txtOriginalMessage [21 149 378 220] \"\" hidden\n"
                "  CommandButton cmdClose [338 390 75 23] \"&Close\" default cancel\n");
  for (int i = 1; i <= 3; ++i) form->AddAttachment("e" + std::to_string(i), "s");
  form->SetOriginalMessageBody("line\r\n & line");
  form->tbsTabs.ClickTab(2);
  EXPECT_EQ(form->lvwSigning.Describe(), R"("" {"s", "s", "s"})");
  EXPECT_TRUE(form->lvwSigning.IsShown() && !form->lvwEncryption.IsShown());
  form->ShowTab(1);
  EXPECT_EQ(form->lvwEncryption.Describe(), R"("" {"e1", "e2", "e3"})");
  EXPECT_TRUE(form->lvwEncryption.IsShown() && !form->lvwSigning.IsShown());
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

TEST_F(ReadingWindows, StatusGrowsAndShrinksWithItsMargins) {
  const auto form = LoadedStatus();
  form->Resize(100, 100);
  EXPECT_EQ(form->Width, 295);
  EXPECT_EQ(form->Height, 336);
  const auto bounds = [](const Control& control) {
    const Rect& at = control.Bounds;
    return std::vector<int>{at.left, at.top, at.width, at.height};
  };
  EXPECT_EQ(bounds(form->tbsTabs), (std::vector<int>{7, 118, 281, 181}));
  EXPECT_EQ(bounds(form->lvwEncryption), (std::vector<int>{21, 187, 253, 98}));
  EXPECT_EQ(bounds(form->cmdClose), (std::vector<int>{213, 306, 75, 23}));
  form->Resize(520, 430);
  EXPECT_EQ(bounds(form->txtOriginalMessage), (std::vector<int>{21, 149, 478, 230}));
  EXPECT_EQ(bounds(form->cmdClose), (std::vector<int>{438, 400, 75, 23}));
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
  EXPECT_EQ(
      form->Dump(),
      "frmProgress \"Corvessa\" 400x249\n"
      "  Image imgLogoImage [7 7 386 48] \"c:\\Corvessa\\Customization\\48hLogo.gif\"\n"
      "  Label lblTitle [7 62 386 26] \"Please wait while Corvessa decrypts this message and/or "
      "verifies its digital signatures.\"\n"
      "  Label lblDescription [7 95 386 13] \"three\"\n"
      "  ProgressBar pgbProgress [7 115 386 16] 12 of 0 to 12\n"
      "  TextBox Text1 [7 138 386 104] \"(2/29/2004 11:58:07 PM) Verifying email\\n(2/29/2004 "
      "11:58:07 PM) two\\n(2/29/2004 11:58:07 PM) three\\n\"\n");
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
