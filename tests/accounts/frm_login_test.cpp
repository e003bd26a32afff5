#include "accounts/frm_login.h"

#include <gmock/gmock.h>

#include "accounts/nimbra_account.h"
#include "support/addin_fixture.h"
#include "support/form_checks.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Login : public AddInFixture {
 protected:
  void SetUp() override {
    for (const char* address : {"a@x.org", "b@x.org", "c@x.org"}) {
      auto account = std::make_shared<NimbraAccount>();
      account->m_sAlias = address;
      g_colAccounts.push_back(account);
    }
  }

  /// The rows offered, before the dialog is cancelled.
  std::string Offered(std::string_view address, bool list_all) {
    std::string rows;
    ui.Expect<frmLogin>("frmLogin", [&](frmLogin& form) {
      rows = form.cmbUsers.Describe();
      form.cmdCancel.Press();
    });
    const auto form = std::make_shared<frmLogin>();
    EXPECT_EQ(form->DoLogin(LoginReason::kFirstRequest, address, list_all), nullptr);
    return rows;
  }
};

TEST_F(Login, TakesThePassphraseOfTheChosenAddressAndLeavesNoCopy) {
  NimbraAccountPtr chosen;
  std::weak_ptr<frmLogin> dialog;
  ui.Expect<frmLogin>("frmLogin", [&](frmLogin& form) {
    ExpectGoldenForm("frmLogin", form);
    form.cmbUsers.ClickRow(1);
    form.txtPassword.Type("canary");
    EXPECT_TRUE(form.cmdOK.Enabled());
    form.txtPassword.Type("");
    EXPECT_FALSE(form.cmdOK.Enabled());
    form.txtPassword.Type("canary");
    form.cmdOK.Press();
  });
  {
    const auto form = std::make_shared<frmLogin>();
    dialog = form;
    chosen = form->DoLogin(LoginReason::kFirstRequest, "", true);
    EXPECT_EQ(form->txtPassword.Text(), "");
  }
  EXPECT_TRUE(dialog.expired());
  EXPECT_EQ(chosen, g_colAccounts[1]);
  EXPECT_EQ(chosen->m_sPassword.View(), "canary");
  EXPECT_THAT(Trace(),
              ElementsAre("Checking account a@x.org", "Adding item a@x.org", "Added item a@x.org",
                          "Checking account b@x.org", "Adding item b@x.org", "Added item b@x.org",
                          "Checking account c@x.org", "Adding item c@x.org", "Added item c@x.org"));
  EXPECT_THAT(FilesHolding("canary"), IsEmpty());
}

TEST_F(Login, OffersTheGivenAddressFirstAndTheOthersThatAreLocked) {
  g_colAccounts[2]->SetAuthenticated(true);
  EXPECT_EQ(Offered("b@x.org", true), R"({>"b@x.org", "a@x.org"})");
  EXPECT_EQ(Offered("b@x.org", false), R"({>"b@x.org"})");
  EXPECT_EQ(Offered("", false), "{}");
}

TEST_F(Login, IsCancelledByTheCloseBoxAndByAnAddressThatIsNone) {
  LoginReason reason = LoginReason::kCannotDecrypt;
  const auto ask = [&] { return std::make_shared<frmLogin>()->DoLogin(reason, "", false); };
  ui.Expect<frmLogin>("frmLogin", [](frmLogin& form) {
    ExpectGoldenForm("frmLogin_cannot_decrypt", form);
    form.txtPassword.Type("typed");
    form.PressCloseBox();
  });
  EXPECT_EQ(ask(), nullptr);
  reason = LoginReason::kWrongPassphrase;
  ui.Expect<frmLogin>("frmLogin", [](frmLogin& form) {
    EXPECT_EQ(form.txtPrompt1.Caption(), "You entered an incorrect passphrase.  Please try again.");
    form.txtPassword.Type("typed");
    form.cmdOK.Press();
  });
  EXPECT_EQ(ask(), nullptr);
  for (const NimbraAccountPtr& account : g_colAccounts) {
    EXPECT_TRUE(account->m_sPassword.IsEmpty());
  }
}

}  // namespace
}  // namespace corvessa::testing
