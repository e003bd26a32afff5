#include "message/frm_save_attachments.h"

#include <gmock/gmock.h>

#include "accounts/frm_login.h"
#include "support/form_checks.h"
#include "support/reading_fixture.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SaveAttachments : public ReadingFixture {
 protected:
  void SetUp() override {
    ReadingFixture::SetUp();
    SetEditionSwitch("DisableAutoDecryptAttachments", 1);
    SetPreference("PassphraseMemory", -1);
    files.CreateFolder("c:\\Out");
    ConnectAddIn();
  }

  /// The dialog that the message's button opens.
  frmSaveAttachments& Opened(const desk::ItemPtr& item) {
    ExpectLogin(kAnnsPassphrase);
    const auto window = outlook.Open(item);
    ui.AllowForm("frmSaveAttachments");
    EXPECT_TRUE(outlook.Click(window->Bars(), "Decrypt/verify attachment(s)"));
    return dynamic_cast<frmSaveAttachments&>(*LoadedForms().back());
  }
};

TEST_F(SaveAttachments, SavesTheChosenOnesDecryptedAndSaysWhatCameOfEach) {
  const std::string report = "canary report";
  std::string damaged = EncryptedFile("damaged");
  damaged.back() = static_cast<char>(damaged.back() ^ 1);
  const auto item = Received(Encrypted("body"), {{"report.pdf", EncryptedFile(report)},
                                                 {"report.pdf.sig", SignatureOf(report)},
                                                 {"bad.bin", damaged},
                                                 {"list.txt", "eggs"},
                                                 {"list.txt.sig", SignatureOf("milk")},
                                                 {"other.txt", "left out"}});
  frmSaveAttachments& form = Opened(item);
  EXPECT_EQ(form.EntryID, item->Data().entry_id);
  form.lstAttachments.SetRowChecked(5, false);
  ExpectGoldenForm("frmSaveAttachments", form);

  form.txtFolder.Type("c:\\Nowhere");
  ui.ExpectBox("Please enter a folder that exists.");
  form.cmdSave.Press();

  files.Write("c:\\Out\\list.txt", "older");
  form.txtFolder.Type(" c:\\Out");
  ExpectLogin("wrong");
  ExpectLogin(kAnnsPassphrase);
  const std::string question = "The file c:\\Out\\list.txt already exists.\r\n\r\nReplace it?";
  ui.ExpectBox(question, platform::kAnswerCancel);
  observer.Take();
  form.cmdSave.Press();
  EXPECT_EQ(form.txtResults.Text(),
            "Attachment: report.pdf\r\nVerified signatures by: bob@example.com\r\n"
            "Saved as c:\\Out\\report.pdf\r\n"
            "Attachment: report.pdf.sig\r\nSaved as c:\\Out\\report.pdf.sig\r\n"
            "Attachment: bad.bin\r\nNot saved: Error encountered in content.\r\n"
            "Attachment: list.txt\r\nFailed signatures by: bob@example.com\r\nNot saved.\r\n"
            "Attachment: list.txt.sig\r\nSaved as c:\\Out\\list.txt.sig\r\n");
  EXPECT_THAT(
      observer.Take(),
      ElementsAre("1 report.pdf 0 0 bob@example.com: c:\\Out\\report.pdf",
                  "2 report.pdf.sig 1 0 bob@example.com: c:\\Out\\report.pdf.sig",
                  "3 bad.bin -3 2: not saved, Error encountered in content.",
                  "4 list.txt 1 1: not saved", "5 list.txt.sig 1 1: c:\\Out\\list.txt.sig"));
  EXPECT_THAT(files.List("c:\\Out"),
              ElementsAre("list.txt", "list.txt.sig", "report.pdf", "report.pdf.sig"));
  EXPECT_EQ(files.Read("c:\\Out\\report.pdf"), report);
  EXPECT_EQ(files.Read("c:\\Out\\list.txt"), "older");
  EXPECT_THAT(TemporaryFiles(), IsEmpty());

  // The passphrase was for one use; only what is still chosen is asked about.
  for (const int row : {0, 1, 2, 4}) form.lstAttachments.SetRowChecked(row, false);
  ui.ExpectBox(question, platform::kAnswerOk);
  form.cmdSave.Press();
  EXPECT_EQ(files.Read("c:\\Out\\list.txt"), "eggs");

  const auto held = form.shared_from_this();
  outlook.Close(outlook.Inspectors().front());
  EXPECT_FALSE(held->IsLoaded());
  EXPECT_THAT(TemporaryFiles(), IsEmpty());
  EXPECT_EQ(item->SavesByAddIn(), 0);
}

TEST_F(SaveAttachments, SavesNothingMoreWhenTheLoginIsCancelledOrTheMessageCloses) {
  const auto item = Received(Encrypted("body"), {{"a.txt", EncryptedFile("canary a")},
                                                 {"b.txt", EncryptedFile("canary b")},
                                                 {"c.txt", "plain"}});
  frmSaveAttachments& form = Opened(item);
  form.txtFolder.Type("c:\\Out\\");
  ExpectLogin("");
  form.cmdSave.Press();
  EXPECT_EQ(form.txtResults.Text(),
            "Attachment: a.txt\r\nNot saved: No matching key pair avaliable.\r\n"
            "Attachment: b.txt\r\nNot saved: No matching key pair avaliable.\r\n"
            "Attachment: c.txt\r\nSaved as c:\\Out\\c.txt\r\n");

  ui.Expect<frmLogin>("frmLogin", [&](frmLogin& login) {
    outlook.Close(outlook.Inspectors().front());
    login.txtPassword.Type(kAnnsPassphrase);
    login.cmdOK.Press();
  });
  form.cmdSave.Press();
  EXPECT_THAT(files.List("c:\\Out"), ElementsAre("c.txt"));
  EXPECT_THAT(FilesHolding("canary"), IsEmpty());
  EXPECT_THAT(TemporaryFiles(), IsEmpty());
}

}  // namespace
}  // namespace corvessa::testing
