#include "forms/frm_send_from_external_application.h"

#include "accounts/nimbra_account.h"
#include "accounts/settings.h"
#include "message/header_fields.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

class ExternalSendForm : public AddInFixture {
 protected:
  std::string Flags() {
    return GetItemField(item, "X-Nimbra-NoEncrypt") + " " + GetItemField(item, "X-Nimbra-NoSign");
  }
  void AddSigner() {
    const auto account = std::make_shared<NimbraAccount>();
    account->m_bSigning = true;
    g_colAccounts.push_back(account);
  }
  std::shared_ptr<frmSendFromExternalApplication> Made() {
    const auto form = std::make_shared<frmSendFromExternalApplication>();
    form->Load();
    form->Init(item);
    return form;
  }
  desk::ItemPtr item = outlook.NewMail();
};

TEST_F(ExternalSendForm, BeginsWithTheUsersSettings) {
  EXPECT_EQ(Made()->Dump(),
            "frmSendFromExternalApplication \"Corvessa Professional for Outlook\" 300x166\n"
            "  Frame Frame1 [7 62 286 67] \"\"\n"
            "  CheckBox chkSign [14 77 272 17] \"Sign this message\" [ ] disabled\n"
            "  CheckBox chkEncrypt [14 103 272 17] \"Encrypt this message\" [x]\n"
            "  CommandButton cmdContinue [218 136 75 23] \"&Continue >\" default cancel\n"
            "  Image imgLogoImage [7 7 286 48] \"c:\\Corvessa\\Customization\\48hLogo.gif\"\n");
  EXPECT_EQ(Flags(), "False True");
  AddSigner();
  for (const bool off : {false, true}) {
    g_bDisableOutgoingEncryption = off;
    g_bDisableOutgoingSigning = off;
    const auto form = Made();
    EXPECT_TRUE(form->chkSign.Enabled);
    EXPECT_EQ(Flags(), off ? "True True" : "False False");
  }
}

TEST_F(ExternalSendForm, StoresEveryClickAndSaysWhenItCannot) {
  AddSigner();
  const auto form = Made();
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

}  // namespace
}  // namespace corvessa::testing
