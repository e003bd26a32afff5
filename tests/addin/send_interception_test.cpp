#include <algorithm>
#include <functional>

#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "accounts/registry_handlers.h"
#include "addin/frm_send_from_external_application.h"
#include "addin/outlook_support.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "crypto/temp_files.h"
#include "forms/dialogs.h"
#include "sending.h"
#include "settings/settings.h"
#include "support/form_checks.h"
#include "support/gpg.h"

namespace corvessa::testing {
namespace {

constexpr std::string_view kMessageArmour = "-----BEGIN PGP MESSAGE-----";
constexpr std::string_view kSignedArmour = "-----BEGIN PGP SIGNED MESSAGE-----";

constexpr const char* kSameNamesQuestion =
    "The email you are sending contains multiple attachments with the  same filename.\r\n"
    "Corvessa Professional for Outlook may encounter errors when decrypting these "
    "files.\r\n\r\nContinue sending this email?";

class SendInterception : public Sending {
 protected:
  using Sending::Sending;
  void TearDown() override {
    EXPECT_EQ(FilesHolding(kCanary), std::vector<std::string>{});
    EXPECT_EQ(TemporaryFiles(), std::vector<std::string>{});
    EXPECT_EQ(g_colTempFiles, std::vector<std::string>{});
    Sending::TearDown();
  }
  /// What Bob's and Ann's keys let gpg see of a text; "+" for a good signature before it.
  std::string ReadByGpg(std::string_view text) {
    if (!gpg_knows_keys_) {
      std::string keys;
      std::string more;
      Keys().ExportSecretKeys("bob@example.org", keys);
      Keys().ExportPublicKeys("ann@example.org", more);
      gpg.Import(keys + more);
      gpg_knows_keys_ = true;
    }
    std::string layers;
    std::string inner(text);
    while (inner.starts_with("-----BEGIN PGP")) {
      gpg.Run("--decrypt", inner);
      // gpg has tried a key on another's part of a message with hidden readers before its own.
      const bool opened = gpg.said.find("DECRYPTION_OKAY") != std::string::npos;
      if (gpg.exit_code != 0 && !opened) return gpg.said;
      if (gpg.said.find("GOODSIG") != std::string::npos) layers += "+";
      inner = gpg.output;
    }
    // The line end before a signature is not part of what was signed, but gpg shows it.
    if (!layers.empty()) inner.resize(inner.size() - kCrLf.size());
    return layers + inner;
  }
  /// What the add-in shows when the message is received and opened.
  desk::ItemData ReadByTheAddIn(desk::ItemData received) {
    received.sender = {"Ann", "ann@example.org"};
    received.folder = desk::kInbox;
    const auto item = outlook.AddReceived(std::move(received));
    outlook.Open(item);
    desk::ItemData shown = item->Data();
    outlook.Close(item->Window());
    EXPECT_EQ(item->SavesByAddIn(), 0);
    return shown;
  }
  Gpg gpg;

 private:
  bool gpg_knows_keys_ = false;
};

TEST_F(SendInterception, EveryChoiceIsReadByGpgAndByTheAddIn) {
  LogInWith("secret");
  for (const bool encrypt : {true, false}) {
    for (const bool sign : {true, false}) {
      SCOPED_TRACE(std::string(encrypt ? "encrypted " : "") + (sign ? "signed" : ""));
      const auto item = Draft();
      Attach(item, "report.txt", "canary-5e11 report");
      Attach(item, "b.sig", "canary-5e11 no signature");
      Choose(item, encrypt, sign);
      const auto sent = outlook.Send(item);
      ASSERT_TRUE(sent);
      EXPECT_EQ(sent->body->find(kCanary) == std::string::npos, encrypt);
      EXPECT_EQ(sent->body->starts_with(encrypt ? kMessageArmour : kSignedArmour), encrypt || sign);
      EXPECT_EQ(ReadByGpg(*sent->body), (sign ? "+" : "") + std::string(kText));
      if (encrypt) {
        gpg.Run("--list-packets", *sent->body);
        EXPECT_EQ(gpg.output.find("keyid 0000000000000000"), std::string::npos) << "no Bcc";
      }
      ASSERT_EQ(sent->attachments.size(), sign ? 4U : 2U);
      for (const std::string& attachment : Attachments(*sent)) {
        EXPECT_TRUE(!encrypt || attachment.find(kCanary) == std::string::npos) << attachment;
      }
      const desk::ItemData shown = ReadByTheAddIn(*sent);
      EXPECT_EQ(*shown.body, kText);
      EXPECT_EQ(Attachments(shown)[0], "report.txt: canary-5e11 report");
      EXPECT_EQ(Attachments(shown)[1], "b.sig: canary-5e11 no signature");
      if (sign) {
        const std::string data = gpg.Write("report.txt", "canary-5e11 report");
        const std::string signature =
            gpg.Write("report.txt.sig", sent->attachments[2]->content->Bytes());
        EXPECT_EQ(sent->attachments[2]->file_name, "report.txt.sig");
        gpg.Make("--verify " + signature + " " + data);
      }
    }
  }
}

TEST_F(SendInterception, ADocumentWithASignaturesNameIsNeitherSentInClearNorReplaced) {
  LogInWith("secret");
  AllowError("");
  for (const bool sign : {true, false}) {
    const auto item = Draft();
    Attach(item, "notes", "canary-5e11 notes");
    Attach(item, "NOTES.sig", "canary-5e11 more notes");
    Choose(item, true, sign);
    if (sign) {
      // The signature of the one would have to take the other's place.
      ui.ExpectErrorBox(
          "The attachment \"notes\" cannot be signed: another one has the name of its signature.");
      ui.ExpectBox("Failed to sign message:\r\n\r\nUnexpected error with signature.");
      ui.ExpectBox("Failed to sign email.  Send without signature?", platform::kAnswerOk);
    }
    const auto sent = outlook.Send(item);
    ASSERT_TRUE(sent);
    for (const std::string& attachment : Attachments(*sent)) {
      EXPECT_EQ(attachment.find(kCanary), std::string::npos) << attachment;
    }
    EXPECT_EQ(Attachments(ReadByTheAddIn(*sent)),
              (std::vector<std::string>{"notes: canary-5e11 notes",
                                        "NOTES.sig: canary-5e11 more notes"}));
  }
}

class SendFromEachOutlook : public SendInterception,
                            public ::testing::WithParamInterface<const char*> {
 protected:
  SendFromEachOutlook() : SendInterception(GetParam()) {}
};
INSTANTIATE_TEST_SUITE_P(, SendFromEachOutlook,
                         ::testing::Values("9.0.0.2711", "10.0.0.2627", "11.0.0.5510"));

TEST_P(SendFromEachOutlook, HTMLBecomesPlainTextAndComesBackWhenNothingIsSent) {
  const std::string converting = "ItemSend - converting body from HTML";
  const std::string html = "<html><b>canary-5e11</b></html>";
  // Only -1 means after each use.
  g_lPassphraseMemory = -7;
  LogInWith("secret");
  const auto item = Draft();
  item->EditHTMLBody(html);
  SendTo(item, "Dan", "dan@example.org");
  ui.Expect<frmNoKeysFound>("frmNoKeysFound", [](frmNoKeysFound& form) { form.cmdNo.Press(); });
  EXPECT_FALSE(outlook.Send(item));
  EXPECT_EQ(*item->Data().html, html);
  const auto trace = Trace();
  EXPECT_EQ(std::ranges::count(trace, converting), 1);

  SendTo(item, "Bob", "bob@example.org");
  const auto sent = outlook.Send(item);
  ASSERT_TRUE(sent);
  EXPECT_EQ(*sent->html, "");
  EXPECT_TRUE(g_colAccounts.front()->GetAuthenticated()) << "not to be forgotten after each use";
  EXPECT_EQ(ReadByGpg(*sent->body), "+canary-5e11");
  EXPECT_EQ(*ReadByTheAddIn(*sent).body, "canary-5e11");
}

/// An answer to what stands in the way of sending, and what then leaves.
struct Obstacle {
  const char* what;
  /// Prepares the draft and the user's answers; true for those that let it go.
  std::function<void(bool)> prepare;
  /// The layers that gpg finds around the text once it is let go.
  std::string_view sent_as;
  /// What is told of the question, with ": yes" or ": no" for "?".
  std::string_view told;
};

TEST_F(SendInterception, TheUserDecidesAboutEachObstacle) {
  desk::ItemPtr item;
  const auto cannot_encrypt_for = [&](const char* name, const char* address, bool go) {
    SendTo(item, name, address);
    LogInWith("secret");
    ui.Expect<frmNoKeysFound>("frmNoKeysFound", [go](frmNoKeysFound& form) {
      if (go) return form.cmdYes.Press();
      form.PressCloseBox();
    });
  };
  const auto box = [&](const std::string& text, bool go) { ui.ExpectBox(text, go ? 1 : 2); };
  const std::string unsigned_question = "Failed to sign email.  Send without signature?";
  const Obstacle obstacles[] = {
      {"three wrong passphrases",
       [&](bool go) {
         LogInWith("wrong");
         box(unsigned_question, go);
       },
       "", "send unsigned?"},
      {"login cancelled",
       [&](bool go) {
         ui.Expect<frmLogin>("frmLogin", [](frmLogin& form) { form.PressCloseBox(); });
         box(unsigned_question, go);
       },
       "", "send unsigned?"},
      {"no key", [&](bool go) { cannot_encrypt_for("Dan", "dan@example.org", go); }, "+",
       "send unencrypted? dan@example.org"},
      {"no address", [&](bool go) { cannot_encrypt_for("Nobody", "", go); }, "+",
       "send unencrypted? Nobody"},
      {"same names",
       [&](bool go) {
         LogInWith("secret");
         Attach(item, "B.TXT", "canary-5e11 2");
         box(kSameNamesQuestion, go);
       },
       "+", "same file names?"},
      {"additional decryption keys",
       [&](bool go) {
         LogInWith("secret");
         g_bADKEnabled = true;
         box("Encrypted emails sent to 'example.org' email addresses will also be encrypted "
             "for:\r\n\r\narchive@example.net",
             go);
       },
       "+", "additional keys? archive@example.net"},
  };
  engine::KeyInfo archive;
  Keys().GenerateKey("", "archive@example.net", "secret", archive);
  WriteContent(profile / "adk.txt", "example.org: archive@example.net\n");
  g_lPassphraseMemory = kForgetAfterEachUse;
  for (const Obstacle& obstacle : obstacles) {
    for (const bool go : {false, true}) {
      SCOPED_TRACE(std::string(obstacle.what) + (go ? ", go on" : ", stop"));
      g_bADKEnabled = false;
      item = Draft();
      Attach(item, "b.txt", "canary-5e11 1");
      obstacle.prepare(go);
      const auto before = Attachments(item->Data());
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
      if (!go) {
        EXPECT_EQ(*item->Data().body, kText);
        EXPECT_EQ(Attachments(item->Data()), before);
        outlook.Close(item->Window());
        continue;
      }
      EXPECT_EQ(ReadByGpg(*sent->body), std::string(obstacle.sent_as) + std::string(kText));
      LogInWith("secret");
      EXPECT_EQ(*ReadByTheAddIn(*sent).body, kText);
      EXPECT_EQ(sent->body->starts_with(kMessageArmour), sent->recipients[0].name == "Bob");
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
  std::vector<std::string> pumped_after;
  ui.on_do_events = [&](int) { pumped_after.push_back(Trace().back()); };
  const auto sent = outlook.Send(item);
  ASSERT_TRUE(sent);
  EXPECT_EQ(std::count(pumped_after.begin(), pumped_after.end(), "Loading external send form"), 1);
  ExpectGolden("trace_of_encryption", Trace());
  EXPECT_EQ(observer.Take(),
            (std::vector<std::string>{"leave unsigned: yes",
                                      "encrypted for ann@example.org bob@example.org", "leaves"}));
  EXPECT_EQ(ReadByGpg(*sent->body), kText);
  // Who opens it sees that there are two readers, and not who they are.
  gpg.Run("--list-packets", *sent->body);
  const std::string packets = gpg.output;
  EXPECT_NE(packets.find(":pubkey enc packet: version 3, algo 18, keyid 0000000000000000"),
            std::string::npos)
      << packets;
  EXPECT_EQ(packets.find("keyid", packets.find("keyid", packets.find("keyid") + 1) + 1),
            std::string::npos);
  LogInWith("secret");
  EXPECT_EQ(*ReadByTheAddIn(*sent).body, kText);
}

TEST_F(SendInterception, AMailWithEverythingTracesEachStep) {
  engine::KeyInfo archive;
  Keys().GenerateKey("", "archive@example.org", "secret", archive);
  WriteContent(profile / "adk.txt", "example.org: archive@example.org\n");
  SetEditionSwitch("ADKEnabled", 1);
  RegistryHandlers::ReadUserAccountInfo();
  LogInWith("secret");
  // No question: Ann's own mail is encrypted for an address of the recipient's domain as well.
  const auto item = Draft();
  item->EditHTMLBody("<p>canary-5e11</p>");
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
            (std::vector<std::string>{
                "signed by ann@example.org",
                "encrypted for bob@example.org ann@example.org archive@example.org", "leaves"}));
  const platform::EngineAccount reader{"archive@example.org"};
  std::string read;
  EXPECT_EQ(Keys().AuthenticateAccount(reader.address, "secret"), 0);
  EXPECT_EQ(Keys().DecryptTextEx(*sent->body, &reader, read), 0) << Keys().GetEngineLastError();
}

TEST_F(SendInterception, AMailSentInsideAnotherLeavesItsHiddenRecipientsHidden) {
  const auto outer = Draft();
  SendTo(outer, "Bob", "bob@example.org", desk::RecipientKind::kBcc);
  Attach(outer, "a.txt", "canary-5e11 a");
  Attach(outer, "b.txt", "canary-5e11 b");
  Choose(outer, true, false);
  const auto inner = Draft();
  Choose(inner, true, false);
  ui.on_do_events = [&](int) {
    ui.on_do_events = nullptr;
    EXPECT_TRUE(outlook.Send(inner));
  };
  const auto sent = outlook.Send(outer);
  ASSERT_TRUE(sent);
  EXPECT_EQ(outlook.Sent().size(), 2U);
  for (const auto& attachment : sent->attachments) {
    gpg.Run("--list-packets", attachment->content->Bytes());
    EXPECT_NE(gpg.output.find("keyid 0000000000000000"), std::string::npos) << gpg.output;
  }
}

TEST_F(SendInterception, OnlySigningAndEncryptingTogetherMakeHTMLPlainUnlessTheMailIsCancelled) {
  LogInWith("secret");
  const auto count = [&](std::string_view line) {
    const auto trace = Trace();
    return std::ranges::count(trace, line);
  };
  const auto draft = [&] {
    const auto item = Draft();
    item->EditHTMLBody("<p>canary-5e11</p>");
    ClearTrace();
    return item;
  };
  for (const bool encrypt : {true, false}) {
    const auto item = draft();
    Choose(item, encrypt, !encrypt);
    EXPECT_TRUE(outlook.Send(item));
    EXPECT_EQ(count("ItemSend - converting body from HTML"), 0) << encrypt;
  }
  const auto item = draft();
  bool cancel = true;
  g_oOutlookSupport->m_oApplication_ItemSend(item, cancel);
  EXPECT_TRUE(cancel);
  EXPECT_EQ(*item->Data().html, "<p>canary-5e11</p>");
  EXPECT_EQ(count("m_oApplication_ItemSend: Sending original"), 0);
}

TEST_F(SendInterception, WhatNeedsNothingPassesUntouched) {
  desk::ItemData meeting;
  meeting.item_class = desk::kMeetingRequestClass;
  meeting.body = std::make_shared<const std::string>("At noon");
  EXPECT_EQ(*outlook.Send(outlook.AddItem(meeting))->body, "At noon");

  const auto neither = Draft();
  neither->EditHTMLBody("<p>hello</p>");
  Choose(neither, false, false);
  observer.Take();
  EXPECT_EQ(*outlook.Send(neither)->html, "<p>hello</p>");
  EXPECT_EQ(observer.Take(),
            (std::vector<std::string>{"leave unencrypted: yes", "leave unsigned: yes", "leaves"}));

  g_bDisableKVPEntirely = true;
  EXPECT_EQ(*outlook.Send(Draft())->body, kText);
}

TEST_F(SendInterception, AnEncryptedFileThatVanishesStopsTheMailAndCostsNoAttachment) {
  const auto item = Draft();
  Attach(item, "a.txt", "canary-5e11 a");
  Attach(item, "b.txt", "canary-5e11 b");
  Choose(item, true, false);
  const auto before = Attachments(item->Data());
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
  EXPECT_EQ(Attachments(item->Data()), before);
}

TEST_F(SendInterception, AMailStaysWhenItsHiddenReadersOrItsChoicesAreUnknown) {
  std::string_view failing = "SafeMailItem.BCC";
  faults.on_call = [&](std::string_view call) {
    if (call == failing) throw Error{5, "lost"};
  };
  AllowError("m_oApplication_ItemSend: lost");
  ui.ExpectErrorBox(
      "The message was not sent.\r\n\r\nIt could not be checked for blind-copy recipients.");
  EXPECT_FALSE(outlook.Send(Draft()));
  LogInWith("secret");
  const auto signed_only = Draft();
  Choose(signed_only, false, true);
  EXPECT_TRUE(outlook.Send(signed_only)) << "only encryption names its readers";

  failing = "SafeMailItem.SetFields";
  AllowError("frmSendFromExternalApplication::Init - lost");
  ui.Expect<frmSendFromExternalApplication>(
      "frmSendFromExternalApplication",
      [](frmSendFromExternalApplication& form) { form.cmdContinue.Press(); });
  ui.ExpectErrorBox("The message was not sent.\r\n\r\nIts security options could not be stored.");
  const auto item = outlook.NewMail();
  item->EditBody(kText);
  EXPECT_FALSE(outlook.Send(item));
  EXPECT_EQ(*item->Data().body, kText);
  faults.on_call = nullptr;
}

TEST_F(SendInterception, ADisconnectionDuringThePassphraseDialogLeavesNothing) {
  g_lPassphraseMemory = kForgetAfterEachUse;
  const auto item = Draft();
  Attach(item, "a.txt", "canary-5e11 a");
  ui.Expect<frmLogin>("frmLogin", [&](frmLogin& form) {
    EXPECT_FALSE(TemporaryFiles().empty());
    DisconnectAddIn();
    form.cmdCancel.Press();
  });
  ui.ExpectBox("Failed to sign email.  Send without signature?", platform::kAnswerCancel);
  EXPECT_FALSE(outlook.Send(item));
  EXPECT_EQ(*item->Data().body, kText);
  EXPECT_EQ(LoadedForms().size(), 0U);
}

TEST_F(SendInterception, ADisconnectionDuringTheQuestionAboutNamesCancelsTheMail) {
  const auto item = Draft();
  item->EditHTMLBody("<p>canary-5e11</p>");
  for (const char* name : {"a.txt", "A.TXT"}) Attach(item, name, "canary-5e11");
  ui.before_call = [&](std::string_view call) {
    if (call == "Ui::ShowBox") DisconnectAddIn();
  };
  ui.ExpectBox(kSameNamesQuestion, platform::kAnswerOk);
  ui.ExpectErrorBox("The message was not sent.\r\n\r\nThe encryption engine could not be started.");
  EXPECT_FALSE(outlook.Send(item));
  EXPECT_EQ(*item->Data().html, "<p>canary-5e11</p>");
  EXPECT_EQ(g_oCrypto, nullptr);
}

}  // namespace
}  // namespace corvessa::testing
