#include <gmock/gmock.h>

#include "base/text.h"
#include "forms/frm_progress.h"
#include "message/mail_item_node.h"
#include "settings/settings.h"
#include "support/mail_fixture.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr std::string_view kText = "The plans are in the safe.\r\n";
constexpr std::string_view kReport = "canary: the report";

using ReadingMail = MailFixture;

TEST_F(ReadingMail, GivesUpAfterThreeWrongPassphrasesOrACancelledDialog) {
  ConnectAddIn();
  const std::string armour = Encrypted(kText);
  const auto item = Received(armour, {{"a.txt", "1"}});
  for (int i = 0; i < 3; ++i) ExpectLogin("canary wrong");
  auto window = outlook.Open(item);
  EXPECT_EQ(Trace()[Trace().size() - 2], "DecryptMailItem - wrong passphrase or account 3 times");
  EXPECT_THAT(FilesHolding("canary"), IsEmpty());
  EXPECT_EQ(*item->Data().body, armour);
  EXPECT_EQ(observer.Take().back(), "read -1 2; a.txt not examined");
  EXPECT_EQ(outlook.Reply(item)->Data().properties.begin()->second, "False");
  outlook.Close(window);

  ExpectLogin("");
  window = outlook.Open(item);
  EXPECT_EQ(ButtonsOf(*window),
            "Message failed decryption (-1) 1088; Message is not digitally signed 1088; "
            "The message is encrypted for ann@example.org, whose key is locked. 1088; "
            "Show original message 37; ");
  outlook.Close(window);
  ExpectNoTraces(*item);
}

TEST_F(ReadingMail, EndsQuietlyWhenTheWindowClosesDuringAPassphraseDialogOrAStep) {
  ConnectAddIn();
  const std::string armour = Encrypted(kText);
  const std::string cipher = EncryptedFile(kReport);
  const auto item = Received(armour, {{"report.pdf", cipher}});
  ui.Expect<frmLogin>("frmLogin", [&](frmLogin& form) {
    outlook.Close(outlook.Inspectors().front());
    form.txtPassword.Type(kPassphrase);
    form.cmdOK.Press();
  });
  EXPECT_EQ(outlook.Open(item), nullptr);
  EXPECT_EQ(*item->Data().body, armour);
  ExpectNoTraces(*item);

  // The same at each moment at which events may come in; the key is unlocked now.
  int pumps = 0;
  ui.on_do_events = [&](int) { ++pumps; };
  outlook.Close(outlook.Open(item));
  ASSERT_GT(pumps, 5);
  for (int at = 1; at <= pumps; ++at) {
    SCOPED_TRACE(at);
    int seen = 0;
    ui.on_do_events = [&](int) {
      if (++seen == at && !outlook.Inspectors().empty()) {
        outlook.Close(outlook.Inspectors().front(), desk::OutlookModel::Closing::kSave);
      }
    };
    if (const auto window = outlook.Open(item)) outlook.Close(window);
    EXPECT_EQ(*item->Stored()->body, armour);
    EXPECT_THAT(AttachmentsOf(*item), ElementsAre(Pair("report.pdf", cipher)));
    EXPECT_THAT(FilesHolding("canary"), IsEmpty());
    ExpectNoTraces(*item);
  }
}

TEST_F(ReadingMail, ADamagedAttachmentCostsNoOtherWhateverTheirNames) {
  ConnectAddIn();
  const std::string armour = Encrypted(kText);
  std::string damaged = EncryptedFile(std::string(2000, 'x'));
  damaged[damaged.size() - 30] = static_cast<char>(damaged[damaged.size() - 30] ^ 1);
  NamedFiles attachments = {{"bad.bin", damaged}, {"z.bin", "plain"}};
  NamedFiles expected = attachments;
  for (const std::string name : {"..\\..\\x", "con", "a:b", "same", "same", "1", "original"}) {
    expected.emplace_back(name, "canary " + Decimal(static_cast<int>(expected.size())));
    attachments.emplace_back(name, EncryptedFile(expected.back().second));
  }
  const auto item = Received(armour, attachments);
  ui.on_do_events = [&](int) {
    for (const std::string& path : TemporaryFiles()) EXPECT_TRUE(path.starts_with("mail")) << path;
  };
  ExpectLogin(kPassphrase);
  ui.ExpectBox("Failed to decrypt message:\r\n\r\nError encountered in content.");
  const auto window = outlook.Open(item);
  EXPECT_EQ(*item->Data().body, kText);
  EXPECT_EQ(AttachmentsOf(*item), expected);
  EXPECT_THAT(observer.Take().back(), ::testing::StartsWith("read -3 2; bad.bin -3 2; z.bin 1 2; "
                                                            "..\\..\\x 0 2; "));
  // The text was decrypted all the same: it stays secret in what comes of it.
  EXPECT_EQ(outlook.Reply(item)->Data().properties.begin()->second, "True");
  EXPECT_THAT(outlook.Forward(item)->Data().attachments, IsEmpty());
  outlook.Close(window, desk::OutlookModel::Closing::kSave);
  EXPECT_EQ(*item->Stored()->body, armour);
  EXPECT_EQ(AttachmentsOf(*item), attachments);
  EXPECT_THAT(FilesHolding("canary"), IsEmpty());
  ExpectNoTraces(*item);
}

TEST_F(ReadingMail, AnOriginalThatVanishedCostsNoOtherAndWhatCannotGoBackStaysOnDisk) {
  ConnectAddIn();
  const std::string cipher = EncryptedFile(kReport);
  const NamedFiles both = {{"a", cipher}, {"b", cipher}};
  const auto item = Received(Encrypted(kText), both);
  ExpectLogin(kPassphrase);
  auto window = outlook.Open(item);
  for (const std::string& file : TemporaryFiles()) {
    if (file.ends_with("/original/a")) DeleteOrQueue("c:\\Temp\\" + Replace(file, "/", "\\"));
  }
  AllowError("CryptoOperations::ReInsertAttachments - ");
  AllowError("MailItemNode::RestoreOriginal - not deleted: ");
  outlook.Close(window, desk::OutlookModel::Closing::kSave);
  EXPECT_THAT(AttachmentsOf(*item), ElementsAre(both[1]));
  EXPECT_THAT(TemporaryFiles(), ElementsAre(::testing::EndsWith("/original/b")));
  EXPECT_THAT(FilesHolding("canary"), IsEmpty());
}

TEST_F(ReadingMail, ASecondPassKeepsTheAttachmentsThatTheMessageCameWith) {
  SetPreference("DisableAutoDecryptAndVerify", 1);
  ConnectAddIn();
  const NamedFiles attachments = {{"report.pdf", EncryptedFile(kReport)}};
  // Decrypted, it looks encrypted still, so that another pass takes it up.
  const auto item = Received(Encrypted(Encrypted(kText)), attachments);
  const auto window = outlook.Open(item);
  ExpectLogin(kPassphrase);
  EXPECT_TRUE(outlook.Click(window->Bars(), "Decrypt/verify"));
  EXPECT_THAT(AttachmentsOf(*item), ElementsAre(Pair("report.pdf", kReport)));
  g_bDisableAutoDecryptAndVerify = false;
  item->Events().Raise([](auto& sink) { sink.Read(); });
  EXPECT_EQ(*item->Data().body, kText);
  outlook.Close(window, desk::OutlookModel::Closing::kSave);
  EXPECT_EQ(AttachmentsOf(*item), attachments);
}

TEST_F(ReadingMail, AnEmbeddedItemWithoutAFileStopsThePass) {
  ConnectAddIn();
  const std::string armour = Encrypted(kText);
  const auto item = Received(armour, {{"report.pdf", EncryptedFile(kReport)}});
  item->AddAttachment({"note.msg", "note", nullptr, "", ""});
  item->Save();
  AllowError(":StoreAllAttachments/4a/Cannot save the attachment. ");
  ui.ExpectErrorBox(
      "Cannot save the attachment. Cannot add the attachment; no data source was provided.");
  const auto window = outlook.Open(item);
  EXPECT_EQ(*item->Data().body, armour);
  EXPECT_EQ(item->Data().attachments.size(), 2U);
  EXPECT_EQ(observer.Take().back(), "read -1 -1");
  ExpectNoTraces(*item);
}

class FailingReading : public MailFixture, public ::testing::WithParamInterface<bool> {};
INSTANTIATE_TEST_SUITE_P(TextAndMime, FailingReading, ::testing::Bool());

/// A message is opened and closed once for each platform call of that, which then fails.
TEST_P(FailingReading, NoCallLosesOrLeaksAnything) {
  const std::string entity =
      "Content-Type: multipart/mixed; boundary=b\r\nSubject: canary subject\r\n\r\n"
      "--b\r\n\r\ncanary body\r\n\r\n--b\r\n"
      "Content-Type: application/pdf; name=report.pdf\r\n\r\n" +
      std::string(kReport) + "\r\n--b--\r\n";
  const bool is_mime = GetParam();
  const std::string armour = is_mime ? "" : Encrypted(Signed("canary body\r\n"));
  const NamedFiles attachments =
      is_mime ? NamedFiles{{"ATT00001.dat", "Version: 1"}, {"encrypted.asc", Encrypted(entity)}}
              : NamedFiles{{"report.pdf", EncryptedFile(kReport)},
                           {"report.pdf.sig", SignatureOf(kReport)}};
  const auto item = Received(armour, attachments);
  ConnectAddIn();
  ExpectLogin(kPassphrase);
  outlook.Close(outlook.Open(item));
  SetPreference("LogDebuggingInfo", 0);
  AllowError("");
  ui.AllowEverything();

  std::size_t swept = 0;
  for (std::size_t n = 1;; ++n) {
    faults.FailAt(n);
    if (const auto window = outlook.Open(item)) outlook.Close(window);
    const std::string failed = faults.Failed();
    faults.FailAt(0);
    SCOPED_TRACE(failed);
    EXPECT_EQ(*item->Stored()->body, armour);
    EXPECT_EQ(AttachmentsOf(*item), attachments);
    EXPECT_EQ(item->Data().subject, "Plans");
    EXPECT_FALSE(ProgressWindow()->IsLoaded());
    // What could not be deleted is known to the queue, and goes with its next round.
    for (const std::string& path : std::vector<std::string>(g_colTempFiles)) DeleteOrQueue(path);
    ExpectNoTraces(*item);
    EXPECT_THAT(FilesHolding("canary"), IsEmpty());
    if (failed.empty() || HasFailure()) break;
    ++swept;
  }
  EXPECT_GT(swept, 150U);
  const auto window = outlook.Open(item);
  EXPECT_EQ(*item->Data().body, "canary body\r\n");
  EXPECT_THAT(AttachmentsOf(*item).front(), Pair("report.pdf", kReport));
  EXPECT_EQ(item->Data().subject, is_mime ? "canary subject" : "Plans");
  // What the user saves is what came, whatever is shown meanwhile.
  outlook.Close(window, desk::OutlookModel::Closing::kSave);
  EXPECT_EQ(AttachmentsOf(*item), attachments);
  EXPECT_EQ(item->Stored()->subject, "Plans");
}

}  // namespace
}  // namespace corvessa::testing
