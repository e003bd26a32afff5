#include "forms/dialogs.h"

#include <gmock/gmock.h>

#include "accounts/address_dialogs.h"
#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "addin/frm_send_from_external_application.h"
#include "base/error.h"
#include "branding/branded_form.h"
#include "forms/frm_progress.h"
#include "message/frm_message_status.h"
#include "message/message_operations.h"
#include "settings/settings.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;

class Dialogs : public AddInFixture {
 protected:
  Dialogs() {
    for (const char* form : {"frmAliasOptions", "frmNoKeyPairs", "frmHTML"}) ui.AllowForm(form);
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
  const auto entered = [&](const char* address, bool is_first = false) {
    ui.Expect<frmEMail>("frmEMail", [=](frmEMail& shown) {
      if (is_first) ExpectGoldenForm("frmEMail", shown);
      shown.edEmail.Type(" ");
      EXPECT_TRUE(shown.cmdOK.Enabled());
      shown.edEmail.Type(address);
      shown.cmdOK.Press();
      if (shown.IsVisible()) shown.PressCloseBox();
    });
    return form->GetUserDlg();
  };
  EXPECT_EQ(entered("a@b.c", true), "a@b.c");
  for (const char* refused : {"@b.c", "a@.c", "a@b", "a@b.", "a@b.c.", "a.b@c", "abc", "a@.b.c",
                              "a@b. ", "a@b@c.d", "\xC3\x84 b@c.d"}) {
    ui.ExpectBox("Please enter a valid email address");
    EXPECT_EQ(entered(refused), "") << refused;
  }
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

TEST_F(Dialogs, NoKeyPairsOpensThePageOfTheClickedAddressUnlessCancelled) {
  SetEdition("URLKeyGen", "https://example.com/keys");
  for (const bool ok : {true, false}) {
    const auto form = std::make_shared<frmNoKeyPairs>();
    for (const char* row : {"a@example.com", "b@example.com"}) form->lstEmailAddr.AddRow(row);
    form->Show();
    ExpectGoldenForm("frmNoKeyPairs", *form);
    form->lstEmailAddr.ClickRow(1);
    EXPECT_TRUE(form->cmdOK.Enabled());
    (ok ? form->cmdOK : form->cmdCancel).Press();
    EXPECT_FALSE(form->IsLoaded());
    EXPECT_THAT(shell.pages, ElementsAre("https://example.com/keys?alias=b@example.com"));
  }
}

TEST_F(Dialogs, HtmlWarningAnswersWhatWasPressed) {
  const auto form = std::make_shared<frmHTML>();
  for (const auto& [button, result] : {std::pair{"cmdConvert", 6}, {"cmdSend", 5}, {"", 3}}) {
    ui.ExpectForm("frmHTML", ui.Press(button));
    form->ShowModal();
    form->Unload();
    EXPECT_EQ(form->Result(), result);
  }
  ExpectGoldenForm("frmHTML", *form);
}

TEST_F(Dialogs, GenericBoxAnswersByItsTypeAndGrowsWithItsMessage) {
  const struct {
    std::int32_t type;
    std::int32_t ok;
    std::int32_t cancel;
    std::string message;
  } cases[] = {
      {0, 1, 3, "Error encountered getting account details"},
      {1, 1, 2, "R&D\r\n\r\nunbroken" + std::string(120, '.')},
      {4, 6, 7,
       "Are you sure you want to remove the secure email address 'somebody@example.com' ?"}};
  for (const auto& c : cases) {
    const auto answer = [&](const ScriptedUi::FormAnswer& act) {
      ui.ExpectForm("frmGeneric", act);
      return ShowGeneric(c.message, c.type);
    };
    EXPECT_EQ(answer([&](Form& form) {
                ExpectGoldenForm("frmGeneric_" + std::to_string(c.type), form);
                ui.Press("cmdOK")(form);
              }),
              c.ok);
    EXPECT_EQ(answer([&](Form& form) {
                ui.Press("cmdCancel")(form);
                form.PressCloseBox();
              }),
              c.cancel);
    EXPECT_EQ(answer(ui.Press()), 3);
  }
  EXPECT_THAT(LoadedFormNames(), ElementsAre());
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
  // The two fields that travel with the message.
  const auto flags = [&] {
    return GetItemField(item, "X-Nimbra-NoEncrypt") + " " + GetItemField(item, "X-Nimbra-NoSign");
  };
  std::shared_ptr<frmSendFromExternalApplication> form;
  const auto open = [&] {
    form = std::make_shared<frmSendFromExternalApplication>();
    form->Load();
    form->Init(item);
    return flags();
  };
  EXPECT_EQ(open(), "False True");
  ExpectGoldenForm("frmSendFromExternalApplication", *form);
  UserManagement::AddNimbraAccountUser("a@x.org")->m_bSigning = true;
  g_bDisableOutgoingEncryption = g_bDisableOutgoingSigning = true;
  EXPECT_EQ(open(), "True True");
  g_bDisableOutgoingEncryption = g_bDisableOutgoingSigning = false;
  EXPECT_EQ(open(), "False False");
  ui.ExpectForm("frmSendFromExternalApplication", [&](Form&) {
    EXPECT_TRUE(form->IsTopmost());
    form->chkEncrypt.Toggle();
    EXPECT_EQ(flags(), "True False");
    form->chkSign.Toggle();
    EXPECT_EQ(flags(), "True True");
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
  ExpectGoldenForm("frmMessageStatus_attachments", *form);
  const Control* pages[] = {&form->lvwEncryption, &form->lvwSigning, &form->txtOriginalMessage};
  for (const int tab : {2, 1, 3}) {
    form->tbsTabs.ClickTab(tab);
    for (int page = 1; page <= 3; ++page) EXPECT_EQ(pages[page - 1]->IsShown(), page == tab);
  }
  form->ShowTab(1);
  form->ClearAttachments();
  EXPECT_FALSE(form->lblThisMsg1.IsShown());
  EXPECT_EQ(form->lvwSigning.RowCount(), 0);
  form->cmdClose.Press();
  EXPECT_FALSE(form->IsLoaded());
}

TEST_F(Dialogs, StatusGrowsWithItsWindowAndKeepsItsLeastSize) {
  const auto form = LoadedStatus();
  form->Resize(form->Width() + 100, form->Height() + 50);
  ExpectGoldenForm("frmMessageStatus_grown", *form);
  form->Resize(420, 420);
  ExpectGoldenForm("frmMessageStatus", *form);
  form->Resize(1, 1);
  EXPECT_EQ(form->lvwEncryption.Bounds().width, 0);
  EXPECT_EQ(form->lvwEncryption.Bounds().height, 0);
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

TEST_F(Dialogs, AHandlersErrorIsTracedAndGoesNoFurther) {
  AllowError("frmHTML::cmdSend_Click - ");
  const auto form = std::make_shared<frmHTML>();
  form->cmdSend.OnClick = [] { Raise(kOverflow); };
  form->cmdSend.Press();
  EXPECT_THAT(Trace(), ElementsAre("frmHTML::cmdSend_Click - Overflow"));
}

}  // namespace
}  // namespace corvessa::testing
