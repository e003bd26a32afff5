#include <gtest/gtest.h>

#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "addin/debug_info.h"
#include "addin/services.h"
#include "base/guard.h"
#include "crypto/crypto_operations.h"
#include "crypto/engine_error_text.h"
#include "support/addin_fixture.h"

namespace corvessa {
namespace {

using Lines = std::vector<std::string>;

class EngineWrapper : public testing::AddInFixture {
 protected:
  testing::ScriptedEngine& engine = *scripted_engine.engine;
};

TEST_F(EngineWrapper, HasKeypairIsTristate) {
  const struct {
    std::int32_t status;
    std::int32_t answer;
  } cases[] = {{0, 1}, {-16, -1}, {-13, 0}, {-8, 0}, {7, 0}};
  for (const auto& c : cases) {
    engine.Once("QueryKeyPair", {.status = c.status});
    EXPECT_EQ(Crypto()->HasKeypair("ann@x.org"), c.answer) << c.status;
  }
  g_bLogDebuggingInfo = true;
  AllowError("haskeypair: ");
  engine.Once("QueryKeyPair", {.thrown = Error{75, "Path/File access error"}});
  EXPECT_EQ(Crypto()->HasKeypair("ann@x.org"), -1);
  EXPECT_EQ(Trace(), Lines{"haskeypair: Path/File access error"});
}

TEST_F(EngineWrapper, AuthenticateAsksInTheModeOfTheAttemptAndCountsIt) {
  UserManagement::AddNimbraAccountUser("ann@x.org");
  const auto answer_login = [&](const std::string& prompt, bool accept) {
    ui.AllowForm("frmModalShowInTaskbar");
    ui.Expect<frmLogin>("frmLogin", [prompt, accept](frmLogin& form) {
      EXPECT_EQ(form.txtPrompt1.Caption(), prompt);
      form.txtPassword.Type("open sesame");
      accept ? form.cmdOK.Press() : form.cmdCancel.Press();
    });
  };
  std::int16_t attempts = 0;
  std::int16_t wrong_account = 0;

  answer_login("Please enter your Corvessa passphrase.", false);
  EXPECT_EQ(Crypto()->Authenticate(attempts, wrong_account), 1);
  EXPECT_EQ(attempts, 0);

  answer_login("Please enter your Corvessa passphrase.", true);
  engine.Once("AuthenticateAccount", {.status = -4});
  EXPECT_EQ(Crypto()->Authenticate(attempts, wrong_account), -1);
  EXPECT_EQ(attempts, 1);
  EXPECT_TRUE(g_colAccounts.front()->m_sPassword.IsEmpty()) << "refused, and so not kept";

  wrong_account = 1;
  answer_login("Unable to decrypt email.  Please select a different email address.", true);
  engine.Once("AuthenticateAccount", {.status = -13});
  EXPECT_EQ(Crypto()->Authenticate(attempts, wrong_account), -1);

  wrong_account = 0;
  answer_login("You entered an incorrect passphrase.  Please try again.", true);
  engine.Once("AuthenticateAccount", {.thrown = Error{5, "lost"}});
  EXPECT_EQ(Crypto()->Authenticate(attempts, wrong_account), -1);
  EXPECT_TRUE(g_colAccounts.front()->m_sPassword.IsEmpty());
  AllowError("CryptoOperations::Authenticate - lost");

  answer_login("You entered an incorrect passphrase.  Please try again.", true);
  EXPECT_EQ(Crypto()->Authenticate(attempts, wrong_account), 0);
  EXPECT_EQ(attempts, 3);
  EXPECT_TRUE(g_colAccounts.front()->GetAuthenticated());
}

TEST_F(EngineWrapper, VectorsTakeEachTextOnceComparedExactly) {
  testing::ScriptedStringVector addresses;
  for (const char* text : {"a@x.org", "   ", "", "a@x.org", "A@x.org", " a@x.org"}) {
    Crypto()->AddToVector(addresses, text);
  }
  EXPECT_EQ(addresses.items, (Lines{"a@x.org", "A@x.org", " a@x.org"}));
}

TEST_F(EngineWrapper, EveryStatusHasItsText) {
  const std::string_view texts[] = {
      "Failed to verify.",
      "Failed to initialise Key Management Services. Please check your connection.",
      "Failed to get cetificate.",
      "Error encountered in content.",
      "Failure while retrieving PGP Key.",
      "No such algorithm supported.",
      "Invalid key returned.",
      "Error encountered with key store.",
      "IO Exception encountered.",
      "Bad data format encountered.",
      "Unexpected error with signature.",
      "Unexpected error encountered.",
      "No aliases available to perform operation.",
      "No matching key pair avaliable.",
      "Unknown error encountered."};
  for (std::int32_t code = 0; code >= -14; --code) EXPECT_EQ(EngineErrorText(code), texts[-code]);
  EXPECT_EQ(EngineErrorText(5), "Unknown error encountered.");
}

TEST_F(EngineWrapper, ErrorsOfConfigurationReachTheCallerAndLeaveNoHalfConfiguredEngine) {
  engine.Once("SetOption", {.thrown = Error{5, "no such header"}});
  EXPECT_EQ(Attempt([] { CreateCrypto(); }).description, "no such header");
  EXPECT_EQ(g_oCrypto, nullptr);
  EXPECT_NE(Crypto(), nullptr);
}

}  // namespace
}  // namespace corvessa
