#include <algorithm>

#include "accounts/nimbra_account.h"
#include "accounts/registry_handlers.h"
#include "addin/frm_send_from_external_application.h"
#include "addin/outlook_support.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "crypto/temp_files.h"
#include "forms/dialogs.h"
#include "settings/settings.h"
#include "support/gpg.h"
#include "support/mail_fixture.h"

namespace corvessa::testing {
namespace {

using Lines = std::vector<std::string>;

/// What must never be found in the clear.
constexpr std::string_view kCanary = "canary-5e11";
constexpr std::string_view kText = "Dear Bob,\r\n\r\n- canary-5e11 \xE2\x82\xAC\r\n--Ann\r\n";
constexpr std::string_view kHTML = "<html><b>canary-5e11</b></html>";

constexpr const char* kSameNamesQuestion =
    "The email you are sending contains multiple attachments with the  same filename.\r\n"
    "Corvessa Professional for Outlook may encounter errors when decrypting these "
    "files.\r\n\r\nContinue sending this email?";
constexpr const char* kUnsignedQuestion = "Failed to sign email.  Send without signature?";

/// Bob's address is secured too, so that the add-in can be asked what Bob would see.
class SendInterception : public MailFixture {
 protected:
  explicit SendInterception(std::string outlook_version = "9.0.0.2711")
      : MailFixture(std::move(outlook_version)) {
    StoreAccount(kBob);
    ConnectAddIn();
  }
  void TearDown() override {
    EXPECT_EQ(FilesHolding(kCanary), Lines{});
    EXPECT_EQ(TemporaryFiles(), Lines{});
    EXPECT_EQ(g_colTempFiles, Lines{});
    MailFixture::TearDown();
  }
  /// What the add-in shows when the message is received and opened.
  desk::ItemData ReadByTheAddIn(desk::ItemData received) {
    received.sender = {"Ann", std::string(kAnn)};
    received.folder = desk::kInbox;
    const auto item = outlook.AddReceived(std::move(received));
    outlook.Open(item);
    desk::ItemData shown = item->Data();
    outlook.Close(item->Window());
    EXPECT_EQ(item->SavesByAddIn(), 0);
    return shown;
  }
  /// "read", both statuses and the signers, as told of the message that was read last.
  std::string ReadAs() {
    const std::string told = observer.Take().back();
    return told.substr(0, told.find(';'));
  }
  /// How many of the keys that the message is encrypted for it names, and how many it hides.
  std::pair<std::size_t, std::size_t> NamedAndHiddenKeys(const std::string& message) {
    gpg.Run("--list-packets", message);
    const auto count = [&](std::string_view text) {
      return (gpg.output.size() - Replace(gpg.output, text, "").size()) / text.size();
    };
    const std::size_t hidden = count("keyid 0000000000000000");
    return {count("keyid ") - hidden, hidden};
  }
  Gpg gpg;
};

TEST_F(SendInterception, EveryChoiceIsReadAsItWasMade) {
  LogInWith(kPassphrase);
  for (const bool encrypt : {true, false}) {
    for (const bool sign : {true, false}) {
      SCOPED_TRACE(std::string(encrypt ? "encrypted " : "") + (sign ? "signed" : ""));
      const auto item = Draft(kText);
      // A document may have a signature's name.
      const std::string second = sign ? "b.sig" : "REPORT.txt.sig";
      Attach(item, "report.txt", "canary-5e11 report");
      Attach(item, second, "canary-5e11 no signature");
      const NamedFiles before = AttachmentsOf(*item);
      Choose(item, encrypt, sign);
      const auto sent = outlook.Send(item);
      ASSERT_TRUE(sent);
      EXPECT_EQ(sent->body->find(kCanary) == std::string::npos, encrypt);
      const std::size_t named = encrypt ? 2 : 0;
      EXPECT_EQ(NamedAndHiddenKeys(*sent->body), std::pair(named, std::size_t{0})) << "no Bcc";
      for (const auto& [name, content] : AttachmentsOf(*sent)) {
        EXPECT_TRUE(!encrypt || content.find(kCanary) == std::string::npos) << name;
      }
      const desk::ItemData shown = ReadByTheAddIn(*sent);
      const std::string signature = sign ? " 0 ann@example.org" : " 2";
      const std::string both = (encrypt ? " 0" : " 1") + signature;
      std::string told = "read" + both;
      if (encrypt || sign) told += "; report.txt" + both + "; " + second + both;
      if (sign) told += "; report.txt.sig 1" + signature + "; b.sig.sig 1" + signature;
      EXPECT_EQ(observer.Take().back(), told);
      EXPECT_EQ(*shown.body, kText);
      NamedFiles files_shown = AttachmentsOf(shown);
      files_shown.resize(2);
      EXPECT_EQ(files_shown, before);
    }
  }
}

class SendFromEachOutlook : public SendInterception,
                            public ::testing::WithParamInterface<const char*> {
 protected:
  SendFromEachOutlook() : SendInterception(GetParam()) {}
};
INSTANTIATE_TEST_SUITE_P(, SendFromEachOutlook,
                         ::testing::Values("9.0.0.2711", "10.0.0.2627", "11.0.0.5510"));

TEST_P(SendFromEachOutlook, HTMLBecomesPlainTextToSignAndEncryptAndComesBackWhenNothingIsSent) {
  // Only -1 means after each use.
  g_lPassphraseMemory = -7;
  LogInWith(kPassphrase);
  const auto draft = [&] {
    const auto item = Draft(kText);
    item->EditHTMLBody(kHTML);
    ClearTrace();
    return item;
  };
  const auto count = [&](std::string_view line) {
    const auto trace = Trace();
    return std::ranges::count(trace, line);
  };
  const std::string_view converting = "ItemSend - converting body from HTML";
  auto item = draft();
  bool cancel = true;
  g_oOutlookSupport->m_oApplication_ItemSend(item, cancel);
  EXPECT_TRUE(cancel);
  EXPECT_EQ(*item->Data().html, kHTML);
  EXPECT_EQ(count("m_oApplication_ItemSend: Sending original"), 0);

  ClearTrace();
  SendTo(item, "Dan", "dan@example.org");
  ui.ExpectForm("frmNoKeysFound", ui.Press("cmdNo"));
  EXPECT_FALSE(outlook.Send(item));
  EXPECT_EQ(*item->Data().html, kHTML);
  EXPECT_EQ(count(converting), 1);

  SendTo(item, "Bob", kBob);
  const auto sent = outlook.Send(item);
  ASSERT_TRUE(sent);
  EXPECT_EQ(*sent->html, "");
  EXPECT_TRUE(g_colAccounts.front()->GetAuthenticated()) << "not to be forgotten after each use";
  EXPECT_EQ(*ReadByTheAddIn(*sent).body, "canary-5e11");
  EXPECT_EQ(ReadAs(), "read 0 0 ann@example.org");
  for (const bool encrypt : {true, false}) {
    item = draft();
    Choose(item, encrypt, !encrypt);
    EXPECT_TRUE(outlook.Send(item));
    EXPECT_EQ(count(converting), 0) << encrypt;
  }
}

TEST_F(SendInterception, TheUserDecidesAboutEachObstacle) {
  const std::string additional_keys =
      "Encrypted emails sent to 'example.org' email addresses will also be encrypted "
      "for:\r\n\r\narchive@example.net";
  const struct {
    const char* what;
    std::string_view passphrase;
    const char* name;
    std::string_view address;
    /// Empty where the form lists the recipients without a key.
    std::string question;
    /// What is told of the question, with ": yes" or ": no" for "?".
    std::string_view told;
    std::string_view read_as;
  } obstacles[] = {
      {"three wrong passphrases", "wrong", "Bob", kBob, kUnsignedQuestion, "send unsigned?",
       "read 0 2"},
      {"login cancelled", "", "Bob", kBob, kUnsignedQuestion, "send unsigned?", "read 0 2"},
      {"no key", kPassphrase, "Dan", "dan@example.org", "", "send unencrypted? dan@example.org",
       "read 1 0 ann@example.org"},
      {"no address", kPassphrase, "Nobody", "", "", "send unencrypted? Nobody",
       "read 1 0 ann@example.org"},
      {"same names", kPassphrase, "Bob", kBob, kSameNamesQuestion, "same file names?",
       "read 0 0 ann@example.org"},
      {"additional keys", kPassphrase, "Bob", kBob, additional_keys,
       "additional keys? archive@example.net", "read 0 0 ann@example.org"},
  };
  MakeKey("archive@example.net");
  WriteContent(profile / "adk.txt", "example.org: archive@example.net\n");
  g_lPassphraseMemory = kForgetAfterEachUse;
  for (const auto& obstacle : obstacles) {
    for (const bool go : {false, true}) {
      SCOPED_TRACE(std::string(obstacle.what) + (go ? ", go on" : ", stop"));
      const auto item = Draft(kText);
      SendTo(item, obstacle.name, obstacle.address);
      Attach(item, "b.txt", "canary-5e11 1");
      if (obstacle.question == kSameNamesQuestion) Attach(item, "B.TXT", "canary-5e11 2");
      g_bADKEnabled = obstacle.question == additional_keys;
      LogInWith(obstacle.passphrase);
      if (obstacle.question.empty()) {
        ui.ExpectForm("frmNoKeysFound", ui.Press(go ? "cmdYes" : ""));
      } else {
        ui.ExpectBox(obstacle.question, go ? platform::kAnswerOk : platform::kAnswerCancel);
      }
      const NamedFiles before = AttachmentsOf(*item);
      observer.Take();
      const auto sent = outlook.Send(item);
      ASSERT_EQ(sent.has_value(), go);
      const auto told = observer.Take();
      EXPECT_EQ(std::ranges::count(told, Replace(obstacle.told, "?", go ? ": yes" : ": no")), 1);
      EXPECT_EQ(told.back(), go ? "leaves" : "cancelled");
      for (const NimbraAccountPtr& account : g_colAccounts) {
        EXPECT_TRUE(account->m_sPassword.IsEmpty());
        EXPECT_FALSE(account->GetAuthenticated());
      }
      if (go) {
        LogInWith(kPassphrase);
        EXPECT_EQ(*ReadByTheAddIn(*sent).body, kText);
        EXPECT_EQ(ReadAs(), obstacle.read_as);
      } else {
        EXPECT_EQ(*item->Data().body, kText);
        EXPECT_EQ(AttachmentsOf(*item), before);
        outlook.Close(item->Window());
      }
    }
  }
}

TEST_F(SendInterception, AnotherProgramsMailAsksForItsChoices) {
  const auto item = outlook.NewMail();
  item->EditBody(kText);
  item->EditRecipients({{desk::RecipientKind::kTo, "Ann", "ann@example.org", "", {}},
                        {desk::RecipientKind::kBcc, "Bob", "bob@example.org", "", {}}});
  Attach(item, "a.txt", "canary-5e11");
  ui.Expect<frmSendFromExternalApplication>("frmSendFromExternalApplication",
                                            [](frmSendFromExternalApplication& form) {
                                              EXPECT_TRUE(form.ShowsInTaskbar());
                                              form.chkSign.Toggle();
                                              form.cmdContinue.Press();
                                            });
  ClearTrace();
  Lines pumped_after;
  ui.on_do_events = [&](int) { pumped_after.push_back(Trace().back()); };
  const auto sent = outlook.Send(item);
  ASSERT_TRUE(sent);
  EXPECT_EQ(std::count(pumped_after.begin(), pumped_after.end(), "Loading external send form"), 1);
  ExpectGolden("trace_of_encryption", Trace());
  EXPECT_EQ(observer.Take(), (Lines{"leave unsigned: yes",
                                    "encrypted for ann@example.org bob@example.org", "leaves"}));
  // Everybody who opens it sees that there are two readers, and not who they are.
  EXPECT_EQ(NamedAndHiddenKeys(*sent->body), std::pair(std::size_t{0}, std::size_t{2}));
  LogInWith(kPassphrase);
  EXPECT_EQ(*ReadByTheAddIn(*sent).body, kText);
  EXPECT_EQ(ReadAs(), "read 0 2");
}

TEST_F(SendInterception, AMailWithEverythingTracesEachStep) {
  MakeKey("archive@example.org");
  WriteContent(profile / "adk.txt", "example.org: archive@example.org\n");
  SetEditionSwitch("ADKEnabled", 1);
  RegistryHandlers::ReadUserAccountInfo();
  LogInWith(kPassphrase);
  // No question: Ann's own mail is encrypted for an address of the recipient's domain as well.
  const auto item = Draft(kText);
  item->EditHTMLBody(kHTML);
  Attach(item, "a.txt", "canary-5e11");
  ClearTrace();
  observer.Take();
  int safe_items = 0;
  int made_by_the_send = 0;
  faults.on_call = [&](std::string_view call) {
    if (call == "Redemption.CreateSafeMailItem") ++safe_items;
    if (call == "Attachments.Add") made_by_the_send = safe_items;
  };
  const auto sent = outlook.Send(item);
  faults.on_call = nullptr;
  EXPECT_EQ(made_by_the_send, 1);
  ASSERT_TRUE(sent);
  ExpectGolden("trace_of_signing_and_encryption", Trace());
  EXPECT_EQ(observer.Take(),
            (Lines{"signed by ann@example.org",
                   "encrypted for bob@example.org ann@example.org archive@example.org", "leaves"}));
  const platform::EngineAccount reader{"archive@example.org"};
  std::string read;
  EXPECT_EQ(Keys().AuthenticateAccount(reader.address, kPassphrase), 0);
  EXPECT_EQ(Keys().DecryptTextEx(*sent->body, &reader, read), 0) << Keys().GetEngineLastError();
}

TEST_F(SendInterception, AMailSentInsideAnotherLeavesItsHiddenRecipientsHidden) {
  const auto outer = Draft(kText);
  SendTo(outer, "Bob", "bob@example.org", desk::RecipientKind::kBcc);
  Attach(outer, "a.txt", "canary-5e11 a");
  Attach(outer, "b.txt", "canary-5e11 b");
  Choose(outer, true, false);
  const auto inner = Draft(kText);
  Choose(inner, true, false);
  ui.on_do_events = [&](int) {
    ui.on_do_events = nullptr;
    EXPECT_TRUE(outlook.Send(inner));
  };
  const auto sent = outlook.Send(outer);
  ASSERT_TRUE(sent);
  EXPECT_EQ(outlook.Sent().size(), 2U);
  for (const auto& attachment : sent->attachments) {
    EXPECT_EQ(NamedAndHiddenKeys(attachment->content->Bytes()).first, 0U);
  }
}

TEST_F(SendInterception, WhatNeedsNothingPassesUntouched) {
  desk::ItemData meeting;
  meeting.item_class = desk::kMeetingRequestClass;
  meeting.body = std::make_shared<const std::string>("At noon");
  EXPECT_EQ(*outlook.Send(outlook.AddItem(meeting))->body, "At noon");

  const auto neither = Draft(kText);
  neither->EditHTMLBody("<p>hello</p>");
  Choose(neither, false, false);
  observer.Take();
  EXPECT_EQ(*outlook.Send(neither)->html, "<p>hello</p>");
  EXPECT_EQ(observer.Take(), (Lines{"leave unencrypted: yes", "leave unsigned: yes", "leaves"}));
}

TEST_F(SendInterception, AnEncryptedFileThatVanishesStopsTheMailAndCostsNoAttachment) {
  const auto item = Draft(kText);
  Attach(item, "a.txt", "canary-5e11 a");
  Attach(item, "b.txt", "canary-5e11 b");
  Choose(item, true, false);
  const NamedFiles before = AttachmentsOf(*item);
  int vanished = 0;
  AllowError(":SignAndEncryptItem - The temporary file of attachment \"");
  ui.ExpectErrorBox(
      "The message was not sent.\r\n\r\nThe temporary file of attachment \"a.txt\" is missing.");
  ui.on_do_events = [&](int) {
    for (const std::string& file : TemporaryFiles()) {
      if (file.find("tmp") == std::string::npos || vanished > 0) continue;
      DeleteOrQueue("c:\\Temp\\" + Replace(file, "/", "\\"));
      ++vanished;
    }
  };
  EXPECT_FALSE(outlook.Send(item));
  EXPECT_EQ(vanished, 1);
  EXPECT_EQ(AttachmentsOf(*item), before);
}

TEST_F(SendInterception, AMailStaysWhenItsHiddenReadersOrItsChoicesAreUnknown) {
  FailCalls("SafeMailItem.BCC");
  AllowError("m_oApplication_ItemSend: lost");
  ui.ExpectErrorBox(
      "The message was not sent.\r\n\r\nIt could not be checked for blind-copy recipients.");
  EXPECT_FALSE(outlook.Send(Draft(kText)));
  LogInWith(kPassphrase);
  const auto signed_only = Draft(kText);
  Choose(signed_only, false, true);
  EXPECT_TRUE(outlook.Send(signed_only)) << "only encryption names its readers";

  FailCalls("SafeMailItem.SetFields");
  AllowError("frmSendFromExternalApplication::Init - lost");
  ui.ExpectForm("frmSendFromExternalApplication", ui.Press("cmdContinue"));
  ui.ExpectErrorBox("The message was not sent.\r\n\r\nIts security options could not be stored.");
  const auto item = outlook.NewMail();
  item->EditBody(kText);
  EXPECT_FALSE(outlook.Send(item));
  EXPECT_EQ(*item->Data().body, kText);
  faults.on_call = nullptr;
}

TEST_F(SendInterception, ADisconnectionDuringThePassphraseDialogLeavesNothing) {
  g_lPassphraseMemory = kForgetAfterEachUse;
  const auto item = Draft(kText);
  Attach(item, "a.txt", "canary-5e11 a");
  ui.Expect<frmLogin>("frmLogin", [&](frmLogin& form) {
    EXPECT_FALSE(TemporaryFiles().empty());
    DisconnectAddIn();
    form.cmdCancel.Press();
  });
  ui.ExpectBox(kUnsignedQuestion, platform::kAnswerCancel);
  EXPECT_FALSE(outlook.Send(item));
  EXPECT_EQ(*item->Data().body, kText);
  EXPECT_EQ(LoadedFormNames(), Lines{});
}

TEST_F(SendInterception, ADisconnectionDuringTheQuestionAboutNamesCancelsTheMail) {
  const auto item = Draft(kText);
  item->EditHTMLBody(kHTML);
  for (const char* name : {"a.txt", "A.TXT"}) Attach(item, name, "canary-5e11");
  ui.before_call = [&](std::string_view call) {
    if (call == "Ui::ShowBox") DisconnectAddIn();
  };
  ui.ExpectBox(kSameNamesQuestion, platform::kAnswerOk);
  ui.ExpectErrorBox("The message was not sent.\r\n\r\nThe encryption engine could not be started.");
  EXPECT_FALSE(outlook.Send(item));
  EXPECT_EQ(*item->Data().html, kHTML);
  EXPECT_EQ(g_oCrypto, nullptr);
}

}  // namespace
}  // namespace corvessa::testing
