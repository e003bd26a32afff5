#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "accounts/nimbra_account.h"
#include "base/error.h"
#include "forms/frm_about.h"
#include "forms/frm_alias_options.h"
#include "forms/frm_e_mail.h"
#include "forms/frm_generic.h"
#include "forms/frm_html.h"
#include "forms/frm_modal_show_in_taskbar.h"
#include "forms/frm_no_key_pairs.h"
#include "forms/frm_no_keys_found.h"
#include "support/addin_fixture.h"
#include "support/form_checks.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;

class SmallDialogsTest : public AddInFixture {
 protected:
  SmallDialogsTest() {
    for (const char* form : {"frmAliasOptions", "frmNoKeyPairs", "frmHTML"}) ui.AllowForm(form);
  }

  /// What the address dialog gives when the user does that in it.
  std::string AskAddress(frmEMail& form, const std::function<void(frmEMail&)>& act) {
    ui.Expect<frmEMail>("frmEMail", act);
    return form.GetUserDlg();
  }
};

TEST_F(SmallDialogsTest, AddressDialogAcceptsOnlyWhatLooksLikeAnAddress) {
  const auto form = std::make_shared<frmEMail>();
  EXPECT_EQ(AskAddress(*form,
                       [](frmEMail& shown) {
                         ExpectGoldenForm("frmEMail", shown);
                         shown.edEmail.Type(" ");
                         ExpectGoldenForm("frmEMail_typed", shown);
                         shown.edEmail.Type("a@b.c");
                         shown.PressCloseBox();
                       }),
            "");
  for (const char* refused :
       {"@b.c", "a@.c", "a@b", "a@b.", "a@b.c.", "a.b@c", "abc", "a@.b.c", "a@b. "}) {
    ui.ExpectBox("Please enter a valid email address");
    EXPECT_EQ(AskAddress(*form,
                         [&](frmEMail& shown) {
                           shown.edEmail.Type(refused);
                           shown.cmdOK.Press();
                           EXPECT_TRUE(shown.IsVisible()) << refused;
                           shown.cmdCancel.Press();
                         }),
              "");
  }
  for (const auto& [typed, address] : std::vector<std::pair<const char*, const char*>>{
           {"a@b.c", "a@b.c"},
           {"  Alice@Example.COM ", "alice@example.com"},
           {"a@b@c.d", "a@b@c.d"},
           {"\xC3\x84 b@c.d", "\xC3\xA4 b@c.d"}}) {
    EXPECT_EQ(AskAddress(*form,
                         [&](frmEMail& shown) {
                           shown.edEmail.Type(typed);
                           shown.cmdOK.Press();
                         }),
              address);
  }
}

TEST_F(SmallDialogsTest, AddressOptionsChangeTheSigningFlagOnOkOnly) {
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

TEST_F(SmallDialogsTest, NoKeysFoundAnswersOnlyWhatWasPressed) {
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

TEST_F(SmallDialogsTest, NoKeyPairsOpensThePageOfTheClickedAddress) {
  SetEdition("URLKeyGen", "https://example.com/keys");
  const auto form = std::make_shared<frmNoKeyPairs>();
  for (const char* address : {"a@example.com", "b@example.com"}) form->lstEmailAddr.AddRow(address);
  form->Show();
  ExpectGoldenForm("frmNoKeyPairs", *form);
  form->lstEmailAddr.ClickRow(1);
  ExpectGoldenForm("frmNoKeyPairs_selected", *form);
  form->cmdOK.Press();
  EXPECT_FALSE(form->IsLoaded());
  EXPECT_THAT(shell.pages, ElementsAre("https://example.com/keys?alias=b@example.com"));
}

TEST_F(SmallDialogsTest, HtmlWarningAnswersOnlyWhatWasPressed) {
  const auto form = std::make_shared<frmHTML>();
  form->Show();
  ExpectGoldenForm("frmHTML", *form);
  EXPECT_EQ(form->Result(), 3);
  form->cmdSend.Press();
  EXPECT_EQ(form->Result(), 5);
  form->Show();
  form->cmdConvert.Press();
  EXPECT_EQ(form->Result(), 6);
  EXPECT_FALSE(form->IsVisible());
}

TEST_F(SmallDialogsTest, GenericBoxAnswersByItsTypeAndGrowsWithItsMessage) {
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

TEST_F(SmallDialogsTest, ModalFormsHaveATaskBarEntryOfTheirOwn) {
  const auto about = std::make_shared<frmAbout>();
  const auto helpers = [] {
    std::string dumps;
    for (const FormPtr& form : LoadedForms()) {
      if (form->Name() != "frmModalShowInTaskbar" || !form->IsVisible()) continue;
      dumps += form->Dump() + form->Icon->source;
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

}  // namespace
}  // namespace corvessa::testing
