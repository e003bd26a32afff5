#include "forms/dialogs.h"

#include <functional>
#include <gmock/gmock.h>

#include "accounts/address_dialogs.h"
#include "accounts/nimbra_account.h"
#include "addin/frm_send_from_external_application.h"
#include "base/error.h"
#include "branding/branded_form.h"
#include "forms/frm_progress.h"
#include "message/frm_message_status.h"
#include "message/message_operations.h"
#include "settings/settings.h"
#include "support/addin_fixture.h"
#include "support/form_checks.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;

class Dialogs : public AddInFixture {
 protected:
  Dialogs() {
    for (const char* form : {"frmAliasOptions", "frmNoKeyPairs", "frmHTML"}) ui.AllowForm(form);
  }

  /// The two fields that the form for another program's mail has stored.
  std::string Flags() {
    return GetItemField(item, "X-Nimbra-NoEncrypt") + " " + GetItemField(item, "X-Nimbra-NoSign");
  }
  std::shared_ptr<frmSendFromExternalApplication> ExternalSend() {
    const auto form = std::make_shared<frmSendFromExternalApplication>();
    form->Load();
    form->Init(item);
    return form;
  }
  static std::shared_ptr<frmMessageStatus> LoadedStatus() {
    auto form = std::make_shared<frmMessageStatus>();
    form->Load();
    return form;
  }

  desk::ItemPtr item = outlook.NewMail();
};

TEST_F(Dialogs, AddressDialogAcceptsOnlyWhatLooksLikeAnAddress) {
  const auto form = std::make_shared<frmEMail>();
  const auto entered = [&](const char* address) {
    ui.Expect<frmEMail>("frmEMail", [address](frmEMail& shown) {
      shown.edEmail.Type(address);
      shown.cmdOK.Press();
      if (shown.IsVisible()) shown.cmdCancel.Press();
    });
    return form->GetUserDlg();
  };
  ui.Expect<frmEMail>("frmEMail", [](frmEMail& shown) {
    ExpectGoldenForm("frmEMail", shown);
    shown.edEmail.Type(" ");
    ExpectGoldenForm("frmEMail_typed", shown);
    shown.edEmail.Type("a@b.c");
    shown.PressCloseBox();
  });
  EXPECT_EQ(form->GetUserDlg(), "");
  for (const char* refused : {"@b.c", "a@.c", "a@b", "a@b.", "a@b.c.", "a.b@c", "abc", "a@.b.c",
                              "a@b. ", "a@b@c.d", "\xC3\x84 b@c.d"}) {
    ui.ExpectBox("Please enter a valid email address");
    EXPECT_EQ(entered(refused), "") << refused;
  }
  EXPECT_EQ(entered("a@b.c"), "a@b.c");
  EXPECT_EQ(entered("  Alice@Example.COM "), "alice@example.com");
}

TEST_F(Dialogs, AddressOptionsChangeTheSigningFlagOnOkOnly) {
  const auto account = std::make_shared<NimbraAccount>();
  account->m_sAlias = "r&d@example.com";
  for (const bool has_page : {true, false}) {
    SetEdition("URLPassphrase", has_page ? "http://example.com/change?lang=en" : "");
    const auto form = std::make_shared<frmAliasOptions>(account);
    form->Show();
    ExpectGoldenForm(has_page ? "frmAliasOptions" : "frmAliasOptions_signer_no_page", *form);
    form->cmdPassphrase.Press();
    form->chkSign.Toggle();
    (has_page ? form->cmdOK : form->cmdCancel).Press();
    EXPECT_FALSE(form->IsLoaded());
    EXPECT_TRUE(account->m_bSigning);
  }
  EXPECT_THAT(shell.pages, ElementsAre("http://example.com/change?lang=en&alias=r&d@example.com"));
}

TEST_F(Dialogs, NoKeysFoundAnswersOnlyWhatWasPressed) {
  const auto answer = [&](const std::function<void(frmNoKeysFound&)>& act) {
    const auto form = std::make_shared<frmNoKeysFound>();
    form->lstEmailAddr.AddRow("bob@example.com");
    ui.Expect<frmNoKeysFound>("frmNoKeysFound", act);
    return form->SendUnencrypted();
  };
  EXPECT_EQ(answer([](frmNoKeysFound& form) {
              ExpectGoldenForm("frmNoKeysFound", form);
              form.SetHeading(
                  "Corvessa Professional for Outlook was unable to resolve the following "
                  "recipients to valid email addresses:");
              ExpectGoldenForm("frmNoKeysFound_heading", form);
              form.cmdYes.Press();
            }),
            6);
  EXPECT_EQ(answer([](frmNoKeysFound& form) { form.cmdNo.Press(); }), 7);
  EXPECT_EQ(answer([](frmNoKeysFound& form) { form.PressCloseBox(); }), 3);
}

TEST_F(Dialogs, NoKeyPairsOpensThePageOfTheClickedAddress) {
  SetEdition("URLKeyGen", "https://example.com/keys");
  const auto form = std::make_shared<frmNoKeyPairs>();
  for (const char* address : {"a@example.com", "b@example.com"}) form->lstEmailAddr.AddRow(address);
  form->Show();
  ExpectGoldenForm("frmNoKeyPairs", *form);
  form->lstEmailAddr.ClickRow(1);
  ExpectGoldenForm("frmNoKeyPairs_selected", *form);
  form->cmdOK.Press();
  EXPECT_FALSE(form->IsLoaded());
  const auto other = std::make_shared<frmNoKeyPairs>();
  other->lstEmailAddr.AddRow("c@example.com");
  other->Show();
  other->lstEmailAddr.ClickRow(0);
  other->cmdCancel.Press();
  EXPECT_FALSE(other->IsLoaded());
  EXPECT_THAT(shell.pages, ElementsAre("https://example.com/keys?alias=b@example.com"));
}

TEST_F(Dialogs, HtmlWarningAnswersWhatWasPressed) {
  const auto form = std::make_shared<frmHTML>();
  const auto answer = [&](const std::function<void()>& act) {
    ui.ExpectForm("frmHTML", [&](Form&) { act(); });
    form->ShowModal();
    form->Unload();
    return form->Result();
  };
  EXPECT_EQ(answer([&] { form->cmdConvert.Press(); }), 6);
  EXPECT_EQ(answer([&] { form->cmdSend.Press(); }), 5);
  EXPECT_EQ(answer([&] {
              ExpectGoldenForm("frmHTML", *form);
              form->PressCloseBox();
            }),
            3);
}

TEST_F(Dialogs, GenericBoxAnswersByItsTypeAndGrowsWithItsMessage) {
  struct Case {
    std::int32_t type;
    std::int32_t ok;
    std::int32_t cancel;
    std::string message;
  };
  for (const Case& c :
       {Case{0, 1, 3, "Error encountered getting account details"},
        {1, 1, 2, "R&D\r\n\r\nunbroken" + std::string(120, '.')},
        {4, 6, 7,
         "Are you sure you want to remove the secure email address 'somebody@example.com' ?"}}) {
    ui.Expect<frmGeneric>("frmGeneric", [&](frmGeneric& form) {
      ExpectGoldenForm("frmGeneric_" + std::to_string(c.type), form);
      form.cmdOK.Press();
    });
    EXPECT_EQ(ShowGeneric(c.message, c.type), c.ok);
    ui.Expect<frmGeneric>("frmGeneric", [](frmGeneric& form) {
      form.cmdCancel.Press();
      form.PressCloseBox();
    });
    EXPECT_EQ(ShowGeneric(c.message, c.type), c.cancel);
    ui.Expect<frmGeneric>("frmGeneric", [](frmGeneric& form) { form.PressCloseBox(); });
    EXPECT_EQ(ShowGeneric(c.message, c.type), 3);
  }
  EXPECT_EQ(LoadedForms(), std::vector<FormPtr>{});
}

TEST_F(Dialogs, ModalFormsHaveATaskBarEntryOfTheirOwn) {
  const auto about = std::make_shared<frmAbout>();
  const auto helpers = [] {
    std::string dumps;
    for (const FormPtr& form : LoadedForms()) {
      if (form->Name() != "frmModalShowInTaskbar" || !form->IsVisible()) continue;
      dumps += form->Dump() + form->Icon()->source;
    }
    return dumps;
  };
  ui.Expect<frmAbout>("frmAbout", [&](frmAbout& form) {
    ExpectGoldenForm("frmAbout", form);
    EXPECT_EQ(helpers(),
              "frmModalShowInTaskbar \"About Corvessa Professional for Outlook\" 0x0 taskbar "
              "offscreen\nfrmDummyIconCorvessa");
    form.cmdOK.Press();
  });
  ShowModalForm(*about);
  EXPECT_EQ(helpers(), "");

  ui.before_call = [](std::string_view call) {
    if (call == "Ui::RunModal") Raise(kObjectNotSet);
  };
  EXPECT_THROW(ShowModalForm(*about), Error);
  EXPECT_EQ(helpers(), "");
}

TEST_F(Dialogs, ExternalSendBeginsWithTheUsersSettingsAndStoresEveryClick) {
  ExpectGoldenForm("frmSendFromExternalApplication", *ExternalSend());
  EXPECT_EQ(Flags(), "False True");
  g_colAccounts.push_back(std::make_shared<NimbraAccount>());
  g_colAccounts.back()->m_bSigning = true;
  for (const bool off : {false, true}) {
    g_bDisableOutgoingEncryption = off;
    g_bDisableOutgoingSigning = off;
    const auto form = ExternalSend();
    EXPECT_TRUE(form->chkSign.Enabled());
    EXPECT_EQ(Flags(), off ? "True True" : "False False");
  }
  g_bDisableOutgoingEncryption = g_bDisableOutgoingSigning = false;
  const auto form = ExternalSend();
  ui.ExpectForm("frmSendFromExternalApplication", [&](Form&) {
    EXPECT_TRUE(form->IsTopmost());
    form->chkEncrypt.Toggle();
    EXPECT_EQ(Flags(), "True False");
    form->chkSign.Toggle();
    EXPECT_EQ(Flags(), "True True");
    EXPECT_TRUE(form->ChoicesStored());
    outlook.Redemption().installed = false;
    form->chkEncrypt.Toggle();
    outlook.Redemption().installed = true;
    form->cmdContinue.Press();
  });
  AllowError("frmSendFromExternalApplication::chkEncrypt_Click - ");
  form->ShowModal();
  EXPECT_FALSE(form->ChoicesStored());
  EXPECT_FALSE(form->IsLoaded());
}

TEST_F(Dialogs, StatusShowsOnePageAndListsOnlyWhereThereAreAttachments) {
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

TEST_F(Dialogs, StatusGrowsWithItsWindowAndKeepsItsLeastSize) {
  const auto form = LoadedStatus();
  const std::string designed = form->Dump();
  form->Resize(form->Width() + 100, form->Height() + 50);
  const auto at = [](const Control& control) {
    const Rect& bounds = control.Bounds();
    return std::vector{bounds.left, bounds.top, bounds.width, bounds.height};
  };
  EXPECT_THAT(at(form->cmdClose), ElementsAre(438, 440, 75, 23));
  EXPECT_THAT(at(form->lvwEncryption), ElementsAre(21, 187, 478, 232));
  EXPECT_THAT(at(form->txtOriginalMessage), ElementsAre(21, 149, 478, 270));
  form->Resize(420, 420);
  EXPECT_EQ(form->Dump(), designed);
  form->Resize(1, 1);
  EXPECT_EQ(at(form->lvwEncryption), (std::vector{21, 187, 0, 0}));
  EXPECT_EQ(form->MinimumWindowWidth(), 295);
  EXPECT_EQ(form->MinimumWindowHeight(), 336);
}

TEST_F(Dialogs, StatusFitsTextFromOutsideIntoItsLabels) {
  const auto form = LoadedStatus();
  const auto fitted = [&](std::string_view text, int characters) {
    form->lblFrom.SetBounds({62, 62, characters * 6, 13});  // six pixels a character
    form->SetFrom(text);
    return form->lblFrom.Caption();
  };
  EXPECT_EQ(fitted("Bob & Co", 8), "Bob & Co");
  EXPECT_EQ(fitted("Bob & Co", 7), "Bob ...");
  EXPECT_EQ(fitted("gr\xC3\xBC\xC3\x9F\x65 allen", 7), "gr\xC3\xBC\xC3\x9F...");
  EXPECT_EQ(fitted("abcde", 2), "...");
  EXPECT_EQ(fitted("abc", 2), "...");
  EXPECT_EQ(fitted("", 0), "");
  EXPECT_EQ(fitted("a", 0), "...");
  EXPECT_EQ(fitted("abcdefghij", 9), "abcdef...");
  EXPECT_EQ(fitted(std::string(1'000'000, 'x'), 9), "xxxxxx...");
  std::string accents = "e";
  for (int i = 0; i < 99; ++i) accents += "\xCC\x81";
  EXPECT_EQ(fitted(accents, 1), accents);
}

TEST_F(Dialogs, ProgressCountsItsStepsAndCannotBeClosedBeforeTheEnd) {
  for (const char* name : {"a", "b"}) item->AddAttachment({name, name, outlook.Keep(""), "", ""});
  const auto form = ProgressWindow();
  form->SetCaption("nobody waits yet");
  form->Init(item, 0);
  EXPECT_EQ(form->pgbProgress.Max(), 12);
  EXPECT_EQ(form->lblDescription.Caption(), "Step 0/0");
  EXPECT_EQ(ProgressWindow(), form);
  form->SetCaption("Verifying email", 10);
  form->SetCaption("two");
  form->SetCaption("three");
  form->PressCloseBox();
  ExpectGoldenForm("frmProgress", *form);
  EXPECT_EQ(form->Text1.Text().substr(form->Text1.SelStart()), "(2/29/2004 11:58:07 PM) three\r\n");
  form->Finish();
  EXPECT_FALSE(form->IsLoaded());
  form->SetCaption("late");
  EXPECT_EQ(form->lblDescription.Caption(), "Finished");

  g_bDisableAutoDecryptAttachments = true;
  form->Init(item, 0);
  EXPECT_EQ(form->pgbProgress.Max(), 4);
  form->Init(item, 7);
  EXPECT_EQ(form->pgbProgress.Max(), 7);
  form->Finish();
}

}  // namespace
}  // namespace corvessa::testing
