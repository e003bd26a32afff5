#include "accounts/frm_login.h"

#include <gmock/gmock.h>

#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

using ::testing::IsEmpty;

class Login : public AddInFixture {
 protected:
  Login() {
    for (const char* address : {"a@x.org", "b@x.org", "c@x.org"}) {
      UserManagement::AddNimbraAccountUser(address);
    }
  }
  /// Shows the dialog; the account that it is answered with.
  template <typename Answer>
  NimbraAccountPtr Ask(Answer answer, std::string_view address, bool list_all,
                       LoginReason reason = LoginReason::kFirstRequest) {
    ui.Expect<frmLogin>("frmLogin", answer);
    const auto form = std::make_shared<frmLogin>();
    const NimbraAccountPtr account = form->DoLogin(reason, address, list_all);
    EXPECT_EQ(form->txtPassword.Text(), "");
    EXPECT_EQ(form.use_count(), 1) << "a form that stays keeps what was typed";
    return account;
  }
};

TEST_F(Login, TakesThePassphraseOfTheChosenAddressAndLeavesNoCopy) {
  const auto chosen = Ask(
      [](frmLogin& form) {
        ExpectGoldenForm("frmLogin", form);
        form.cmbUsers.ClickRow(1);
        for (const char* typed : {"canary", "", "canary"}) {
          form.txtPassword.Type(typed);
          EXPECT_EQ(form.cmdOK.Enabled(), *typed != 0);
        }
        form.cmdOK.Press();
      },
      "", true);
  EXPECT_EQ(chosen, g_colAccounts[1]);
  EXPECT_EQ(chosen->m_sPassword.View(), "canary");
  EXPECT_THAT(FilesHolding("canary"), IsEmpty());
}

TEST_F(Login, AsksForThePassphraseOfAMessageItselfAndLeavesNoCopy) {
  for (const bool is_given : {true, false}) {
    ui.Expect<frmPassphrase>("frmPassphrase", [&](frmPassphrase& form) {
      if (is_given) ExpectGoldenForm("frmPassphrase", form);
      form.txtPassword.Type("canary");
      (is_given ? form.cmdOK : form.cmdCancel).Press();
    });
    const auto form = std::make_shared<frmPassphrase>();
    const auto passphrase = form->Ask(!is_given);
    EXPECT_EQ(passphrase ? passphrase->View() : "none", is_given ? "canary" : "none");
    EXPECT_EQ(form->txtPassword.Text(), "");
  }
}

TEST_F(Login, OffersTheGivenAddressFirstAndTheOthersThatAreLocked) {
  g_colAccounts[2]->SetAuthenticated(true);
  const auto offered = [&](std::string_view address, bool list_all) {
    std::string rows;
    const auto cancel = [&](frmLogin& form) {
      rows = form.cmbUsers.Describe();
      form.cmdCancel.Press();
    };
    EXPECT_EQ(Ask(cancel, address, list_all), nullptr);
    return rows;
  };
  EXPECT_EQ(offered("b@x.org", true), R"({>"b@x.org", "a@x.org"})");
  EXPECT_EQ(offered("b@x.org", false), R"({>"b@x.org"})");
  EXPECT_EQ(offered("", false), "{}");
}

TEST_F(Login, IsCancelledByTheCloseBoxAndByAnAddressThatIsNone) {
  const auto close = [](frmLogin& form) {
    ExpectGoldenForm("frmLogin_cannot_decrypt", form);
    form.txtPassword.Type("typed");
    form.PressCloseBox();
  };
  EXPECT_EQ(Ask(close, "", false, LoginReason::kCannotDecrypt), nullptr);
  const auto answer = [](frmLogin& form) {
    form.txtPassword.Type("typed");
    form.cmdOK.Press();
  };
  EXPECT_EQ(Ask(answer, "", false, LoginReason::kWrongPassphrase), nullptr);
  for (const NimbraAccountPtr& account : g_colAccounts) {
    EXPECT_TRUE(account->m_sPassword.IsEmpty());
  }
}

}  // namespace
}  // namespace corvessa::testing
