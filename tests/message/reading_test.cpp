#include <functional>
#include <gmock/gmock.h>

#include "base/text.h"
#include "crypto/stored_files.h"
#include "forms/dialogs.h"
#include "forms/frm_progress.h"
#include "message/frm_message_status.h"
#include "message/frm_save_attachments.h"
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

  ExpectLogin(kPassphrase);
  auto window = outlook.Open(item);
  const std::string steps(std::dynamic_pointer_cast<frmProgress>(progress)->Text1.Text());
  ExpectGolden("steps_of_reading", Replace(steps, "(" + clock.text + ") ", ""));
  ExpectGolden("trace_of_reading", Trace());
  EXPECT_EQ(*item->Data().body, kText);
  EXPECT_THAT(AttachmentsOf(*item),
              ElementsAre(Pair("report.pdf", kReport), Pair("report.pdf.SIG", signature),
                          Pair("notes.txt", "plain")));
  ExpectGolden("bars_of_reading", desk::Describe(window->Bars()));
  EXPECT_THAT(observer.Take(),
              ElementsAre("left alone",
                          "read 0 0 bob@example.org; report.pdf 0 0 bob@example.org; "
                          "report.pdf.SIG 1 0 bob@example.org; notes.txt 1 2"));

  EXPECT_TRUE(outlook.Click(window->Bars(), "Message is digitally signed"));
  const auto status = std::dynamic_pointer_cast<frmMessageStatus>(LoadedForms().back());
  ASSERT_NE(status, nullptr);
  ExpectGolden("status_of_reading",
               Replace(status->Dump(), Replace(armour, "\r\n", "\\n"), "(the armour)"));
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
  const std::string unsure = Signed(kText) + "Do not believe Bob.";
  const std::string forged_part = forged + "Believe Bob.";
  const std::string signature = SignatureOf("b");
  const std::string by_bob = " bob@example.org";
  const std::string verified =
      "; a.txt 1 1; a.txt.sig 1 1; b.txt 1 0" + by_bob + "; b.txt.sig 1 0" + by_bob;
  struct Case {
    std::string body;
    std::string shown;
    std::string told;
  };
  const Case cases[] = {
      {"  \r\n\r\n" + Signed(kText), std::string(kText), "read 1 0" + by_bob + verified},
      {Encrypted(kText), std::string(kText),
       "read 0 2; a.txt 1 2; a.txt.sig 1 2; b.txt 1 2; b.txt.sig 1 2"},
      {forged, forged, "read 1 1" + verified},
      {Signed(kText) + "A list's footer", std::string(kText),
       "read 1 0" + by_bob + verified + "; shows part"},
      // What stands behind a signed text is lost for good when that is all that comes out. What is
      // signed is verified all the same.
      {Encrypted(unsure), unsure, "read 0 2" + verified},
      {Encrypted(forged_part), forged_part, "read 0 1" + verified},
      {marker, marker, "read 1 2"}};
  ConnectAddIn();
  ExpectLogin(kPassphrase);
  for (const Case& one : cases) {
    SCOPED_TRACE(one.body);
    const auto item = Received(
        one.body,
        {{"a.txt", "a"}, {"a.txt.sig", signature}, {"b.txt", "b"}, {"b.txt.sig", signature}});
    ui.ClearShown();
    const auto window = outlook.Open(item);
    EXPECT_EQ(*item->Data().body, one.shown);
    EXPECT_EQ(observer.Take().back(), one.told);
    EXPECT_EQ(ui.Shown().empty(), one.body == marker)
        << "progress is shown for protected messages only";
    outlook.Close(window, desk::OutlookModel::Closing::kSave);
    EXPECT_EQ(*item->Stored()->body, one.body);
    ExpectNoTraces(*item);
  }
  // The original of a message without a text is its HTML form.
  const auto window = outlook.Open(Received("", {}, "<!-- a picture -->"));
  EXPECT_TRUE(outlook.Click(window->Bars(), "Message is not encrypted"));
  const auto status = std::dynamic_pointer_cast<frmMessageStatus>(LoadedForms().back());
  ASSERT_NE(status, nullptr);
  EXPECT_EQ(status->txtOriginalMessage.Text(), "<!-- a picture -->");
}

TEST_F(ReadingMail, WaitsForTheButtonWhenAutomaticDecryptionIsOff) {
  SetPreference("DisableAutoDecryptAndVerify", 1);
  ConnectAddIn();
  const std::string armour = Encrypted(kText);
  const auto item = Received(armour);
  const auto window = outlook.Open(item);
  EXPECT_EQ(*item->Data().body, armour);
  ExpectGolden("bar_of_waiting", desk::Describe(window->Bars()));
  EXPECT_EQ(observer.Take().back(), "left to button");
  ExpectLogin(kPassphrase);
  EXPECT_TRUE(outlook.Click(window->Bars(), "Decrypt/verify"));
  EXPECT_EQ(*item->Data().body, kText);
  EXPECT_THAT(observer.Take(), ElementsAre("read 0 2"));
  EXPECT_EQ(ButtonsOf(*window),
            "Message is encrypted 1087; Message is not digitally signed 1088; "
            "Show original message 37; ");
  outlook.Close(window);

  // The HTML body counts for the button, though not for the automatic pass.
  const auto html = Received("see the HTML", {}, "   \r\n-----BEGIN PGP MESSAGE-----<BR>");
  EXPECT_EQ(ButtonsOf(*outlook.Open(html)), "&Decrypt/verify 39; ");
}

TEST_F(ReadingMail, LeavesAttachmentsAloneWhereTheEditionSaysSo) {
  SetEditionSwitch("DisableAutoDecryptAttachments", 1);
  ConnectAddIn();
  const auto item = Received(Encrypted(kText), {{"report.pdf", EncryptedFile(kReport)}});
  ExpectLogin(kPassphrase);
  const auto window = outlook.Open(item);
  EXPECT_EQ(observer.Take().back(), "read 0 2; attachments left to button");
  ExpectGolden("bars_of_waiting_attachments", desk::Describe(window->Bars()));
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
  EXPECT_EQ(ButtonsOf(*outlook.Open(plain)),
            "Message is not encrypted 1088; Message is not digitally signed 1088; ");
  outlook.ReadAttachment(plain, 1);
  EXPECT_EQ(ButtonsOf(*outlook.Open(Received(Encrypted(kText)))),
            "Message is encrypted 1087; Message is not digitally signed 1088; "
            "Show original message 37; ");
}

TEST_F(ReadingMail, MarksRepliesAndStripsForwardsOfDecryptedMessages) {
  ConnectAddIn();
  const std::string field = "X-Nimbra-Corvessa-Encrypted-Reply";
  const auto marked = [&](const desk::ItemPtr& response) {
    return response->Data().properties.at({std::string(platform::kInternetHeaders), field});
  };
  const auto secret = Received(Encrypted(kText), {{"a.txt", "1"}, {"b.txt", "2"}});
  ExpectLogin(kPassphrase);
  outlook.Open(secret);
  outlook.ReadAttachment(secret, 1);
  const auto reply = outlook.Reply(secret);
  EXPECT_EQ(marked(reply), "True");
  EXPECT_EQ(marked(outlook.ReplyAll(secret)), "True");
  const auto forward = outlook.Forward(secret);
  EXPECT_THAT(forward->Data().attachments, IsEmpty());
  EXPECT_TRUE(forward->Data().properties.empty());
  desk::ItemData contact;
  contact.item_class = desk::kContactClass;
  contact.attachments = secret->Data().attachments;
  const auto no_mail = outlook.AddItem(contact);
  bool cancel = false;
  secret->Events().Raise([&](auto& sink) { sink.Forward(no_mail, cancel); });
  EXPECT_EQ(no_mail->Data().attachments.size(), 2U);

  const auto plain = Received("hello", {{"a.txt", "1"}});
  outlook.Open(plain);
  EXPECT_EQ(marked(outlook.Reply(plain)), "False");
  EXPECT_EQ(outlook.Forward(plain)->Data().attachments.size(), 1U);
}

TEST_F(ReadingMail, APassOverAMessageBeingComposedOrWithoutHeadersShowsNothing) {
  ConnectAddIn();
  const auto draft = outlook.NewMail();
  draft->EditHTMLBody("<PRE>" + Replace(Encrypted(kText), "\r\n", "<BR>") + "</PRE>");
  const std::string cipher = EncryptedFile(kReport);
  draft->AddAttachment({"report.pdf", "report.pdf", outlook.Keep(cipher), "", ""});
  const desk::ItemData before = draft->Data();
  ExpectLogin(kPassphrase);
  AttachmentNodes nodes;
  const auto node = std::make_shared<MailItemNode>();
  node->InitialiseNode(draft, 0);
  node->DecryptVerifyMail(draft, nodes, true);
  ASSERT_EQ(nodes.size(), 1U);
  EXPECT_EQ(nodes[0]->lDecryptStatus, decrypt_status::kDone);
  EXPECT_EQ(*draft->Data().html, *before.html);
  EXPECT_EQ(*draft->Data().body, *before.body);
  EXPECT_THAT(AttachmentsOf(*draft), ElementsAre(Pair("report.pdf", cipher)));

  const std::string armour = Encrypted(kText);
  const auto item = Received(armour);
  const auto reader = std::make_shared<MailItemNode>();
  reader->InitialiseNode(item, 0);
  reader->DecryptVerifyMail(item, nodes, false);
  EXPECT_EQ(*item->Data().body, armour);
}

TEST_F(ReadingMail, SwitchedOffWhileAMessageIsOpenItLeavesEverythingAsItIs) {
  ConnectAddIn();
  const auto item = Received(Encrypted(kText), {{"a.txt", "1"}});
  ExpectLogin(kPassphrase);
  const auto window = outlook.Open(item);
  g_bDisableKVPEntirely = true;
  ClearTrace();
  item->Events().Raise([](auto& sink) { sink.Read(); });
  EXPECT_EQ(desk::Describe(window->Bars()), "");
  EXPECT_EQ(observer.Take().back(), "left alone");
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
  ExpectLogin(kPassphrase);
  for (const auto& c : cases) {
    faults.on_call = [&](std::string_view call) {
      if (call == c.call) throw Error{5, "lost"};
    };
    c.act();
    faults.on_call = nullptr;
    std::vector<std::string> expected;
    for (const std::string& error : c.errors) {
      expected.push_back(error + (error.ends_with(":") ? " lost" : " - lost"));
    }
    EXPECT_EQ(UnexpectedErrors(), expected) << c.call;
    files.Delete("c:\\Nimbra_trace.txt");
  }
}

class SaveAttachments : public MailFixture {
 protected:
  SaveAttachments() {
    SetEditionSwitch("DisableAutoDecryptAttachments", 1);
    SetPreference("PassphraseMemory", -1);
    files.CreateFolder("c:\\Out");
    ConnectAddIn();
  }

  /// The dialog that the message's button opens.
  frmSaveAttachments& Opened(const desk::ItemPtr& item) {
    ExpectLogin(kPassphrase);
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
  ExpectLogin(kPassphrase);
  const std::string question = "The file c:\\Out\\list.txt already exists.\r\n\r\nReplace it?";
  ui.ExpectBox(question, platform::kAnswerCancel);
  observer.Take();
  form.cmdSave.Press();
  ExpectGolden("results_of_saving", Replace(form.txtResults.Text(), "\r\n", "\n"));
  ExpectGolden("facts_of_saving", observer.Take());
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
    login.txtPassword.Type(kPassphrase);
    login.cmdOK.Press();
  });
  form.cmdSave.Press();
  EXPECT_THAT(files.List("c:\\Out"), ElementsAre("c.txt"));
  EXPECT_THAT(FilesHolding("canary"), IsEmpty());
  EXPECT_THAT(TemporaryFiles(), IsEmpty());
}

}  // namespace
}  // namespace corvessa::testing
