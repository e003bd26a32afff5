#include <functional>
#include <gmock/gmock.h>

#include "accounts/frm_login.h"
#include "accounts/settings.h"
#include "addin/services.h"
#include "addin/temp_files.h"
#include "base/text.h"
#include "crypto/stored_files.h"
#include "forms/frm_generic.h"
#include "forms/frm_message_status.h"
#include "forms/frm_progress.h"
#include "message/mail_item_node.h"
#include "support/form_checks.h"
#include "support/reading_fixture.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr std::string_view kText = "The plans are in the safe.\r\n";
constexpr std::string_view kReport = "canary: the report";

class ReadingMail : public ReadingFixture {
 protected:
  void SetUp() override {
    ReadingFixture::SetUp();
    ui.AllowForm("frmMessageStatus");
  }

  /// Nothing that was read may have stayed, and nothing have been saved.
  void ExpectNoTraces(const desk::Item& item) {
    EXPECT_THAT(TemporaryFiles(), IsEmpty());
    EXPECT_THAT(g_colTempFiles, IsEmpty());
    EXPECT_EQ(item.SavesByAddIn(), 0);
  }

  /// Caption and face of the add-in's buttons in the window: "Message is encrypted 1087; ".
  static std::string ButtonsOf(const desk::InspectorWindow& window) {
    std::string buttons;
    for (const auto& bar : window.Bars().All()) {
      if (!bar->IsTemporary()) continue;
      for (const auto& button : bar->Buttons()) {
        buttons += button->Look().caption + " " + Decimal(button->Look().face_id) + "; ";
      }
    }
    return buttons;
  }
};

constexpr char kDecrypted[] =
    "Message is encrypted 1087; Message is not digitally signed 1088; Show original message 37; ";

TEST_F(ReadingMail, OpensClosesAndReopensAnEncryptedAndSignedMessageWithItsAttachments) {
  const std::string cipher = EncryptedFile(kReport);
  const std::string signature = SignatureOf(kReport);
  const std::string armour = Encrypted(Signed(kText));
  const auto item = Received(
      armour, {{"report.pdf", cipher}, {"report.pdf.SIG", signature}, {"notes.txt", "plain"}});
  ConnectAddIn();
  ClearTrace();
  std::shared_ptr<Form> progress;
  ui.AllowForm("frmProgress", [&](Form& form) { progress = form.shared_from_this(); });

  ExpectLogin(kAnnsPassphrase);
  auto window = outlook.Open(item);
  const std::string steps(std::dynamic_pointer_cast<frmProgress>(progress)->Text1.Text());
  ExpectGolden("steps_of_reading", Replace(steps, "(" + clock.text + ") ", ""));
  EXPECT_THAT(
      Trace(),
      ElementsAre("DecryptVerifyMailItem (Encrypted or signed)", "MailItem PropertyChange Body",
                  ":StoreAllAttachments/1", ":StoreAllAttachments/2", ":StoreAllAttachments/3/1",
                  ":StoreAllAttachments/4/1", ":StoreAllAttachments/3/2",
                  ":StoreAllAttachments/4/2", ":StoreAllAttachments/3/3",
                  ":StoreAllAttachments/4/3", ":StoreAllAttachments/5",
                  "No luck with cached keys - will let user choose login",
                  "Loop once trying to authenticate", "Checking account ann@example.org",
                  "Adding item ann@example.org", "Added item ann@example.org", "V2 Auth success",
                  "V2 Decrypt success", "DecryptAllAttachments returned 0",
                  "MailItem PropertyChange Body", "MailItem_Open Exit (False, True)"));
  EXPECT_EQ(*item->Data().body, kText);
  EXPECT_THAT(AttachmentsOf(*item),
              ElementsAre(Pair("report.pdf", kReport), Pair("report.pdf.SIG", signature),
                          Pair("notes.txt", "plain")));
  const std::string action = R"( action="!<CorvessaPro_OL.Connect>")";
  EXPECT_EQ(desk::Describe(window->Bars()),
            "Corvessa Status position=1\n"
            "  \"Message is encrypted\" tip=\"Message is encrypted\" style=3 face=1087 group" +
                action +
                "\n  \"Message is digitally signed\" tip=\"Message is digitally signed by "
                "bob@example.com\" style=3 face=1087" +
                action +
                "\n  \"Show original message\" tip=\"Show original message\" style=3 face=37" +
                action + "\n");

  EXPECT_TRUE(outlook.Click(window->Bars(), "Message is digitally signed"));
  const auto status = std::dynamic_pointer_cast<frmMessageStatus>(LoadedForms().back());
  ASSERT_NE(status, nullptr);
  EXPECT_EQ(status->lblFrom.Caption(), "Bob && Co");
  EXPECT_EQ(status->lblSubject.Caption(), "Plans");
  EXPECT_EQ(status->lblDate.Caption(), "2/28/2004 9:00:00 AM");
  EXPECT_EQ(status->lblEncrypted.Caption(), "This message is encrypted");
  EXPECT_EQ(status->lblSigned.Caption(), "This message is digitally signed by bob@example.com");
  EXPECT_EQ(status->txtOriginalMessage.Text(), armour);
  EXPECT_EQ(status->tbsTabs.Selected(), 2);
  EXPECT_EQ(status->lvwEncryption.Describe(),
            R"("" {"report.pdf is encrypted", "report.pdf.SIG is not encrypted", )"
            R"("notes.txt is not encrypted"})");
  EXPECT_EQ(status->lvwSigning.Describe(),
            R"("" {"report.pdf is digitally signed by bob@example.com", )"
            R"("report.pdf.SIG is digitally signed by bob@example.com", )"
            R"("notes.txt is not digitally signed"})");
  // Closed by the user, the window is made anew for the next click.
  status->cmdClose.Press();
  EXPECT_TRUE(outlook.Click(window->Bars(), "Show original message"));
  const auto again = std::dynamic_pointer_cast<frmMessageStatus>(LoadedForms().back());
  EXPECT_TRUE(again && again != status && again->tbsTabs.Selected() == 3);

  ClearTrace();
  // Outlook asks whether to save what the add-in changed, and the user says yes.
  outlook.Close(window, desk::OutlookModel::Closing::kSave);
  EXPECT_THAT(Trace(), ElementsAre("MailItem PropertyChange Body"));
  EXPECT_FALSE(again->IsLoaded());
  EXPECT_EQ(*item->Stored()->body, armour);
  EXPECT_THAT(AttachmentsOf(*item),
              ElementsAre(Pair("report.pdf", cipher), Pair("report.pdf.SIG", signature),
                          Pair("notes.txt", "plain")));
  EXPECT_THAT(FilesHolding("canary"), IsEmpty());
  ExpectNoTraces(*item);

  ClearTrace();
  window = outlook.Open(item);
  EXPECT_THAT(Trace(), ::testing::Contains("DecryptTextEx successful"));
  EXPECT_EQ(*item->Data().body, kText);
  outlook.Close(window);
  ExpectNoTraces(*item);
}

TEST_F(ReadingMail, TellsSignedEncryptedForgedAndPlainMessagesApart) {
  const std::string forged =
      Replace(Signed(kText), "The plans are in the safe.", "The plans are on the desk.");
  const std::string marker = "> -----BEGIN PGP MESSAGE-----\r\n";
  struct Case {
    std::string body;
    std::string shown;
    std::string buttons;
  };
  const Case cases[] = {
      {"  \r\n\r\n" + Signed(kText), std::string(kText),
       "Message is not encrypted 1088; Message is digitally signed 1087; "
       "Show original message 37; "},
      {Encrypted(kText), std::string(kText), kDecrypted},
      {forged, forged,
       "Message is not encrypted 1088; Message has an invalid digital signature 1088; "
       "Show original message 37; "},
      {Signed(kText) + "A list's footer", std::string(kText),
       "Message is not encrypted 1088; Message is digitally signed 1087; "
       "Show original message 37; "},
      // What stands behind a signed text is lost for good when that is all that comes out.
      {Encrypted(Signed(kText) + "Do not believe Bob."), Signed(kText) + "Do not believe Bob.",
       "Message is encrypted 1087; Message is not digitally signed 1088; "
       "Show original message 37; "},
      {marker, marker, "Message is not encrypted 1088; Message is not digitally signed 1088; "}};
  ConnectAddIn();
  ExpectLogin(kAnnsPassphrase);
  for (const Case& one : cases) {
    SCOPED_TRACE(one.body);
    const auto item = Received(one.body);
    ui.ClearShown();
    const auto window = outlook.Open(item);
    EXPECT_EQ(*item->Data().body, one.shown);
    EXPECT_EQ(ButtonsOf(*window), one.buttons);
    EXPECT_EQ(ui.Shown().empty(), one.body == marker)
        << "progress is shown for protected messages only";
    outlook.Close(window, desk::OutlookModel::Closing::kSave);
    EXPECT_EQ(*item->Stored()->body, one.body);
    ExpectNoTraces(*item);
  }
}

TEST_F(ReadingMail, WaitsForTheButtonWhenAutomaticDecryptionIsOff) {
  SetPreference("DisableAutoDecryptAndVerify", 1);
  ConnectAddIn();
  const std::string armour = Encrypted(kText);
  const auto item = Received(armour);
  const auto window = outlook.Open(item);
  EXPECT_EQ(*item->Data().body, armour);
  EXPECT_EQ(desk::Describe(window->Bars()),
            "Corvessa Decrypt Now position=1\n"
            "  \"&Decrypt/verify\" tip=\"Decrypt/verify\" style=3 face=39 group"
            " action=\"!<CorvessaPro_OL.Connect>\"\n");

  ExpectLogin(kAnnsPassphrase);
  EXPECT_TRUE(outlook.Click(window->Bars(), "Decrypt/verify"));
  EXPECT_EQ(*item->Data().body, kText);
  EXPECT_EQ(ButtonsOf(*window), kDecrypted);
  outlook.Close(window);

  // The HTML body counts for the button, though not for the automatic pass.
  const auto html = Received("");
  html->EditHTMLBody("-----BEGIN PGP MESSAGE-----");
  html->EditBody("");
  html->EditHTMLBody("   \r\n-----BEGIN PGP MESSAGE-----<BR>");
  html->Save();
  const auto html_window = outlook.Open(html);
  EXPECT_EQ(ButtonsOf(*html_window), "&Decrypt/verify 39; ");
}

TEST_F(ReadingMail, LeavesAttachmentsAloneWhereTheEditionSaysSo) {
  SetEditionSwitch("DisableAutoDecryptAttachments", 1);
  ConnectAddIn();
  const auto item = Received(Encrypted(kText), {{"report.pdf", EncryptedFile(kReport)}});
  ExpectLogin(kAnnsPassphrase);
  const auto window = outlook.Open(item);
  EXPECT_THAT(desk::Describe(window->Bars()),
              ::testing::EndsWith(
                  "\nCorvessa Decrypt Attachments position=1\n  \"&Decrypt/verify attachment(s)\""
                  " tip=\"Decrypt/verify attachment(s)\" style=3 face=39 group"
                  " action=\"!<CorvessaPro_OL.Connect>\"\n"));
  ui.Expect<frmGeneric>("frmGeneric", [](frmGeneric& form) {
    EXPECT_EQ(form.lblMessage.Caption(),
              "This message appears to contain encrypted and/or signed attachments.\r\n\r\n"
              "To decrypt and verify attachments using Corvessa Professional for Outlook, \r\n"
              "use the 'Decrypt/verify attachment(s)' toolbar button.");
    form.cmdOK.Press();
  });
  outlook.ReadAttachment(item, 1);
  // Once a message.
  outlook.ReadAttachment(item, 1);
  outlook.Close(window);
  ExpectNoTraces(*item);
  const auto plain = Received("hello", {{"a.txt", "1"}});
  outlook.Open(plain);
  outlook.ReadAttachment(plain, 1);
}

TEST_F(ReadingMail, MarksRepliesAndStripsForwardsOfDecryptedMessages) {
  ConnectAddIn();
  const std::string field = "X-Nimbra-Corvessa-Encrypted-Reply";
  const auto marked = [&](const desk::ItemPtr& response) {
    return response->Data().properties.at({std::string(platform::kInternetHeaders), field});
  };
  const auto secret = Received(Encrypted(kText), {{"a.txt", "1"}, {"b.txt", "2"}});
  ExpectLogin(kAnnsPassphrase);
  outlook.Open(secret);
  outlook.ReadAttachment(secret, 1);
  const auto reply = outlook.Reply(secret);
  EXPECT_EQ(marked(reply), "True");
  EXPECT_EQ(marked(outlook.ReplyAll(secret)), "True");
  const auto forward = outlook.Forward(secret);
  EXPECT_THAT(forward->Data().attachments, IsEmpty());
  EXPECT_TRUE(forward->Data().properties.empty());

  const auto plain = Received("hello", {{"a.txt", "1"}});
  outlook.Open(plain);
  EXPECT_EQ(marked(outlook.Reply(plain)), "False");
  EXPECT_EQ(outlook.Forward(plain)->Data().attachments.size(), 1U);
}

TEST_F(ReadingMail, APassOverAMessageBeingComposedChangesNothingInIt) {
  ConnectAddIn();
  const auto draft = outlook.NewMail();
  draft->EditHTMLBody("<PRE>" + Replace(Encrypted(kText), "\r\n", "<BR>") + "</PRE>");
  const std::string cipher = EncryptedFile(kReport);
  draft->AddAttachment({"report.pdf", "report.pdf", outlook.Keep(cipher), "", ""});
  const desk::ItemData before = draft->Data();
  ExpectLogin(kAnnsPassphrase);
  AttachmentNodes nodes;
  const auto node = std::make_shared<MailItemNode>();
  node->InitialiseNode(draft, 0, nullptr);
  node->DecryptVerifyMail(draft, nodes, true);
  ASSERT_EQ(nodes.size(), 1U);
  EXPECT_EQ(nodes[0]->lDecryptStatus, decrypt_status::kDone);
  EXPECT_EQ(*draft->Data().html, *before.html);
  EXPECT_EQ(*draft->Data().body, *before.body);
  EXPECT_THAT(AttachmentsOf(*draft), ElementsAre(Pair("report.pdf", cipher)));
  DeleteStoredFiles(nodes);
}

TEST_F(ReadingMail, SwitchedOffWhileAMessageIsOpenItLeavesEverythingAsItIs) {
  ConnectAddIn();
  const auto item = Received(Encrypted(kText), {{"a.txt", "1"}});
  ExpectLogin(kAnnsPassphrase);
  const auto window = outlook.Open(item);
  g_bDisableKVPEntirely = true;
  ClearTrace();
  item->Events().Raise([](auto& sink) { sink.Read(); });
  EXPECT_EQ(desk::Describe(window->Bars()), "");
  EXPECT_TRUE(outlook.Reply(item)->Data().properties.empty());
  EXPECT_EQ(outlook.Forward(item)->Data().attachments.size(), 1U);
  outlook.Close(window);
  EXPECT_THAT(Trace(), ElementsAre("MailItem_Open Exit (True, True)"));
}

TEST_F(ReadingMail, TheHandlerOfACallThatFailsSaysSo) {
  ConnectAddIn();
  const auto secret = Received(Encrypted(kText), {{"a.txt", "1"}});
  const auto plain = Received("hello");
  const auto open = [&](const desk::ItemPtr& item) {
    return [this, item] { outlook.Close(outlook.Open(item)); };
  };
  const auto click = [&](const char* caption) {
    return [this, caption] { outlook.Click(outlook.Inspectors().back()->Bars(), caption); };
  };
  const std::string node = "MailItemNode::";
  const struct {
    const char* call;
    std::function<void()> act;
    std::vector<std::string> errors;
  } cases[] = {
      {"MailItem.Subscribe", open(plain), {node + "InitialiseNode"}},
      {"CommandBars.Add", open(plain), {"AddEncryptionAndSigningStatusBar:"}},
      {"MailItem.TypeName", open(plain), {node + "m_oMailItem_Close"}},
      {"CommandBars.Add", open(outlook.NewMail()), {node + "AddOptionsBar"}},
      {"MailItem.SetBody", open(secret), {"MailItemNode:DecryptVerifyMail"}},
      {"", [&] { outlook.Open(secret); }, {}},
      {"Attachment.ParentTypeName",
       [&] { outlook.ReadAttachment(secret, 1); },
       {node + "m_oMailItem_AttachmentRead"}},
      {"SafeMailItem.SetFields", [&] { outlook.Reply(secret); }, {node + "m_oMailItem_Reply"}},
      {"SafeMailItem.SetFields",
       [&] { outlook.ReplyAll(secret); },
       {node + "m_oMailItem_ReplyAll"}},
      {"MailItem.TypeName", [&] { outlook.Forward(secret); }, {node + "m_oMailItem_Forward"}},
      {"MailItem.Subject",
       click("Message is encrypted"),
       {node + "oCommandBarItemEncryptionStatus_Click"}},
      {"MailItem.Subject",
       click("Message is not digitally signed"),
       {node + "oCommandBarItemSigningStatus_Click"}},
      {"MailItem.Subject",
       click("Show original message"),
       {node + "oCommandBarItemShowOriginalMessage_Click"}},
      // At the close, and when the node goes.
      {"MailItem.EntryID", open(secret), {node + "CleanUp", node + "CleanUp"}},
  };
  ExpectLogin(kAnnsPassphrase);
  for (const auto& c : cases) {
    outlook.OnCall([&](std::string_view call) {
      if (call == c.call) throw Error{5, "lost"};
    });
    c.act();
    outlook.OnCall({});
    std::vector<std::string> expected;
    for (const std::string& error : c.errors) {
      expected.push_back(error + (error.ends_with(":") ? " lost" : " - lost"));
    }
    EXPECT_EQ(UnexpectedErrors(), expected) << c.call;
    files.Delete("c:\\Nimbra_trace.txt");
  }
}

TEST_F(ReadingMail, GivesUpAfterThreeWrongPassphrasesOrACancelledDialog) {
  ConnectAddIn();
  const std::string armour = Encrypted(kText);
  const auto item = Received(armour);
  std::vector<std::string> prompts;
  for (int i = 0; i < 3; ++i) {
    ui.Expect<frmLogin>("frmLogin", [&](frmLogin& form) {
      prompts.push_back(form.txtPrompt1.Caption());
      form.txtPassword.Type("canary wrong");
      form.cmdOK.Press();
    });
  }
  ClearTrace();
  auto window = outlook.Open(item);
  const std::string wrong = "You entered an incorrect passphrase.  Please try again.";
  EXPECT_THAT(prompts, ElementsAre("Please enter your Corvessa passphrase.", wrong, wrong));
  EXPECT_EQ(Trace()[Trace().size() - 2], "DecryptMailItem - wrong passphrase or account 3 times");
  EXPECT_THAT(FilesHolding("canary"), IsEmpty());
  EXPECT_EQ(*item->Data().body, armour);
  const std::string failed =
      "Message failed decryption (-1) 1088; Message is not digitally signed 1088; "
      "Show original message 37; ";
  EXPECT_EQ(ButtonsOf(*window), failed);
  EXPECT_EQ(outlook.Reply(item)->Data().properties.begin()->second, "False");
  outlook.Close(window);

  ExpectLogin("");
  window = outlook.Open(item);
  EXPECT_EQ(ButtonsOf(*window), failed);
  ExpectNoTraces(*item);
}

TEST_F(ReadingMail, EndsQuietlyWhenTheWindowClosesBehindAPassphraseDialogOrAStep) {
  ConnectAddIn();
  const std::string armour = Encrypted(kText);
  const std::string cipher = EncryptedFile(kReport);
  const auto item = Received(armour, {{"report.pdf", cipher}});
  ui.Expect<frmLogin>("frmLogin", [&](frmLogin& form) {
    outlook.Close(outlook.Inspectors().front());
    form.txtPassword.Type(kAnnsPassphrase);
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

TEST_F(ReadingMail, ADamagedAttachmentCostsNoOther) {
  ConnectAddIn();
  const std::string armour = Encrypted(kText);
  std::string damaged = EncryptedFile(std::string(2000, 'x'));
  damaged[damaged.size() - 30] = static_cast<char>(damaged[damaged.size() - 30] ^ 1);
  const auto item = Received(
      armour, {{"good.bin", EncryptedFile(kReport)}, {"bad.bin", damaged}, {"z.bin", "plain"}});
  ExpectLogin(kAnnsPassphrase);
  ui.ExpectBox("Failed to decrypt message:\r\n\r\nError encountered in content.");
  const auto window = outlook.Open(item);
  EXPECT_EQ(*item->Data().body, kText);
  EXPECT_THAT(AttachmentsOf(*item), ElementsAre(Pair("good.bin", kReport), Pair("bad.bin", damaged),
                                                Pair("z.bin", "plain")));
  EXPECT_TRUE(ButtonsOf(*window).starts_with("Message failed decryption (-3) 1088; "));
  // The text was decrypted all the same: it stays secret in what comes of it.
  EXPECT_EQ(outlook.Reply(item)->Data().properties.begin()->second, "True");
  EXPECT_THAT(outlook.Forward(item)->Data().attachments, IsEmpty());
  outlook.Close(window, desk::OutlookModel::Closing::kSave);
  EXPECT_EQ(*item->Stored()->body, armour);
  EXPECT_THAT(FilesHolding("canary"), IsEmpty());
  ExpectNoTraces(*item);
}

TEST_F(ReadingMail, AnOriginalThatVanishedCostsNoOtherAndWhatCannotGoBackStaysOnDisk) {
  ConnectAddIn();
  const std::string cipher = EncryptedFile(kReport);
  const std::vector<std::pair<std::string, std::string>> both = {{"a", cipher}, {"b", cipher}};
  const auto item = Received(Encrypted(kText), both);
  ExpectLogin(kAnnsPassphrase);
  auto window = outlook.Open(item);
  const auto delete_original_of = [&](std::string_view name) {
    for (const std::string& file : TemporaryFiles()) {
      if (!file.ends_with("/original/" + std::string(name))) continue;
      DeleteOrQueue("c:\\Temp\\" + Replace(file, "/", "\\"));
    }
  };
  delete_original_of("a");
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
  const std::vector<std::pair<std::string, std::string>> attachments = {
      {"report.pdf", EncryptedFile(kReport)}};
  // Decrypted, it looks encrypted still, so that another pass takes it up.
  const auto item = Received(Encrypted(Encrypted(kText)), attachments);
  const auto window = outlook.Open(item);
  ExpectLogin(kAnnsPassphrase);
  EXPECT_TRUE(outlook.Click(window->Bars(), "Decrypt/verify"));
  EXPECT_THAT(AttachmentsOf(*item), ElementsAre(Pair("report.pdf", kReport)));
  g_bDisableAutoDecryptAndVerify = false;
  item->Events().Raise([](auto& sink) { sink.Read(); });
  EXPECT_EQ(*item->Data().body, kText);
  outlook.Close(window, desk::OutlookModel::Closing::kSave);
  EXPECT_EQ(AttachmentsOf(*item), attachments);
}

TEST_F(ReadingMail, StoresAttachmentsWithHostileNamesInsideItsFolderAndKeepsTheirNames) {
  ConnectAddIn();
  const std::string long_name = std::string(300, 'n') + ".pdf";
  const std::vector<std::string> names = {"..\\..\\x", "con", "a:b",      long_name, "same",
                                          "same",      "1",   "original", "tmp36"};
  std::vector<std::pair<std::string, std::string>> attachments;
  std::vector<std::pair<std::string, std::string>> expected;
  for (const std::string& name : names) {
    const std::string content = "content " + Decimal(static_cast<int>(expected.size()));
    attachments.emplace_back(name, EncryptedFile(content));
    expected.emplace_back(name, content);
  }
  const auto item = Received(Encrypted(kText), attachments);
  std::vector<std::string> stored;
  ui.on_do_events = [&](int) {
    stored =
        std::max(stored, TemporaryFiles(), [](auto& a, auto& b) { return a.size() < b.size(); });
  };
  ExpectLogin(kAnnsPassphrase);
  const auto window = outlook.Open(item);
  EXPECT_EQ(AttachmentsOf(*item), expected);
  for (const std::string& path : stored) {
    EXPECT_TRUE(path.starts_with("mail")) << path;
  }
  EXPECT_GE(stored.size(), names.size());
  outlook.Close(window);
  EXPECT_EQ(AttachmentsOf(*item), attachments);
  ExpectNoTraces(*item);
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
  EXPECT_EQ(ButtonsOf(*window),
            "Message failed decryption (-1) 1088; "
            "Message failed digital signature verification (-1) 1088; Show original message 37; ");
  ExpectNoTraces(*item);
}

/// A message is opened and closed once for each platform call of that, which then fails.
TEST_F(ReadingMail, NoFailingCallWhileReadingLosesOrLeaksAnything) {
  const std::string armour = Encrypted(Signed("canary body\r\n"));
  const std::vector<std::pair<std::string, std::string>> attachments = {
      {"report.pdf", EncryptedFile(kReport)}, {"report.pdf.sig", SignatureOf(kReport)}};
  const auto item = Received(armour, attachments);
  ConnectAddIn();
  ExpectLogin(kAnnsPassphrase);
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
}

}  // namespace
}  // namespace corvessa::testing
