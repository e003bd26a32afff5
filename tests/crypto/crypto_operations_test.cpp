#include "crypto/crypto_operations.h"

#include <gmock/gmock.h>

#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "base/guard.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "crypto/engine_answers.h"
#include "message/message_operations.h"
#include "settings/settings.h"
#include "support/addin_fixture.h"
#include "support/form_checks.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view kArmour = "\r\n -----BEGIN PGP MESSAGE-----\r\nx";

/// Statuses that the real engine will not give on demand.
class CryptoOperationsTest : public AddInFixture {
 protected:
  void SetUp() override {
    for (const char* address : {"ann@example.org", "bob@example.org"}) {
      auto account = std::make_shared<NimbraAccount>();
      account->m_sAlias = address;
      g_colAccounts.push_back(account);
    }
    CreateCrypto();
    scripted_engine.engine->ClearCalls();
  }

  ScriptedEngine& Engine() { return *scripted_engine.engine; }
  std::int32_t Decrypt(std::string& body) {
    return Crypto()->DecryptMailItem(outlook.NewMail(), body, nodes_);
  }
  std::int32_t Verify(std::string& body) {
    return Crypto()->VerifyMailItem(outlook.NewMail(), body, nodes_, signers_);
  }
  /// Answers each passphrase dialog with the row, and records prompt and rows offered.
  void ExpectLogins(const std::vector<int>& rows) {
    for (const int row : rows) {
      ui.Expect<frmLogin>("frmLogin", [this, row](frmLogin& form) {
        prompts_.push_back(form.txtPrompt1.Caption() + " " + form.cmbUsers.Describe());
        form.cmbUsers.ClickRow(row);
        form.txtPassword.Type("typed");
        form.cmdOK.Press();
      });
    }
  }

  AttachmentNodes nodes_;
  std::string signers_ = "untouched";
  std::vector<std::string> prompts_;
};

TEST_F(CryptoOperationsTest, AsksOnUntilAnAccountDecryptsOrThreeHaveNot) {
  const std::string both = R"({>"ann@example.org", "bob@example.org"})";
  Engine().Always("DecryptTextEx", {.status = -13});
  Engine().Once("AuthenticateAccount", {.status = -4});
  Engine().Once("AuthenticateAccount", {.status = -13});
  Engine().Always("GetEngineLastError", {.text = "locked"});
  ExpectLogins({0, 1, 0});
  std::string body(kArmour);
  EXPECT_EQ(Decrypt(body), -1);
  EXPECT_EQ(body, kArmour);
  EXPECT_THAT(
      prompts_,
      ElementsAre("Please enter your Corvessa passphrase. " + both,
                  "You entered an incorrect passphrase.  Please try again. " + both,
                  "Unable to decrypt email.  Please select a different email address. " + both));
  EXPECT_THAT(Engine().Operations(),
              ElementsAre("DecryptTextEx", "AuthenticateAccount", "AuthenticateAccount",
                          "AuthenticateAccount", "DecryptTextEx", "GetEngineLastError"));
  EXPECT_EQ(Engine().Calls()[0].arguments[0], "-----BEGIN PGP MESSAGE-----\r\nx");
  ExpectGolden("trace_of_failed_logins", Trace());
  for (const NimbraAccountPtr& account : g_colAccounts) {
    EXPECT_TRUE(account->m_sPassword.IsEmpty());
    EXPECT_FALSE(account->GetAuthenticated());
  }
}

TEST_F(CryptoOperationsTest, KeepsTheAccountThatDecrypted) {
  Engine().Once("DecryptTextEx", {.status = -13});
  Engine().Once("DecryptTextEx", {.status = 0, .text = "plain"});
  ExpectLogins({1});
  std::string body(kArmour);
  EXPECT_EQ(Decrypt(body), 0);
  EXPECT_EQ(body, "plain");
  EXPECT_FALSE(g_colAccounts[0]->GetAuthenticated());
  EXPECT_TRUE(g_colAccounts[1]->GetAuthenticated());
  EXPECT_EQ(g_colAccounts[1]->m_sPassword.View(), "typed");
}

TEST_F(CryptoOperationsTest, MapsTheEnginesStatusesAndNeverWrapsOne) {
  struct Case {
    std::int32_t status;
    std::int32_t result;
    std::string body;
    std::string signers;
  };
  const std::string signed_text = "-----BEGIN PGP SIGNED MESSAGE-----\r\nx";
  const Case cases[] = {{1, 0, "content", "a@b, c@d"},
                        {0, 1, signed_text, "a@b, c@d"},
                        {-13, -13, signed_text, "a@b, c@d"},
                        {65537, -11, signed_text, "untouched"}};
  for (const Case& one : cases) {
    signers_ = "untouched";
    Engine().Always("VerifyText",
                    {.status = one.status, .text = "content", .items = {"a@b", "c@d"}});
    std::string body = signed_text;
    EXPECT_EQ(Verify(body), one.result) << one.status;
    EXPECT_EQ(body, one.body);
    EXPECT_EQ(signers_, one.signers);
  }
  EXPECT_EQ(Trace().back(), "CryptoOperations::VerifyMailItem - Overflow");
  AllowError("CryptoOperations::VerifyMailItem - ");
  // More signers than can be told: nobody is said to have signed.
  const std::vector<std::string> too_many(32769, "a@b");
  Engine().Always("VerifyText", {.status = 1, .text = "content", .items = too_many});
  std::string unread = signed_text;
  EXPECT_EQ(Verify(unread), -11);
  EXPECT_EQ(unread, signed_text);
  std::string plain = "plain";
  EXPECT_EQ(Verify(plain), 2);
  EXPECT_EQ(Decrypt(plain), 1);
  EXPECT_EQ(Trace().back(), "EXIT Not encrypted");
}

TEST_F(CryptoOperationsTest, TheLastAttachmentThatFailsDecidesAndAnOrdinaryFileIsNoFailure) {
  const struct {
    std::vector<int> statuses;
    std::vector<int> of_nodes;
    std::int32_t result;
    const char* told;
  } cases[] = {{{0, -9}, {0, 1}, 0, nullptr},
               {{1}, {1}, 1, "Unknown error encountered."},
               {{-3, -13, 0}, {-3, -13, 0}, -13, "No matching key pair avaliable."}};
  for (const auto& c : cases) {
    nodes_.clear();
    for (const int status : c.statuses) {
      const auto node = std::make_shared<AttachmentNode>();
      node->sDir = files.TemporaryFolder();
      node->sFilename = node->original_filename = node->sDir + Decimal(c.result) + Decimal(status);
      files.Write(node->sFilename, "cipher");
      nodes_.push_back(node);
      Engine().Once("DecryptFileEx", {.status = status});
    }
    Engine().Once("DecryptTextEx", {.text = "plain"});
    if (c.told) ui.ExpectBox(std::string("Failed to decrypt message:\r\n\r\n") + c.told);
    std::string body(kArmour);
    EXPECT_EQ(Decrypt(body), c.result);
    std::vector<int> found;
    for (const AttachmentNodePtr& node : nodes_) found.push_back(node->lDecryptStatus);
    EXPECT_EQ(found, c.of_nodes);
  }
}

TEST_F(CryptoOperationsTest, AdditionalKeysJoinTheRecipientsUnlessTheUserStopsTheMail) {
  g_bADKEnabled = true;
  Engine().Always("GetRecipientADKs", {.items = {"vault@else.net", "log@else.net"}});
  Engine().Always("EncryptText", {.text = "-----BEGIN PGP MESSAGE-----\r\nx"});
  const auto item = outlook.NewMail();
  item->EditRecipients({{desk::RecipientKind::kTo, "Bob", "bob@example.net", "", {}}});
  WriteHeaderFlag(item, kNoSign, true);
  const auto send = [&](const char* on_own_list, std::int32_t answer) {
    Engine().ClearCalls();
    Engine().Always("GetAddressADKs", {.items = {on_own_list}});
    if (answer != 0) {
      ui.ExpectBox(
          "Encrypted emails sent to 'example.net' email addresses will also be encrypted "
          "for:\r\n\r\nvault@else.net, log@else.net",
          answer);
    }
    return Crypto()->SignAndEncryptItem(item, nodes_, false);
  };
  const std::string all = "bob@example.net, ann@example.org, vault@else.net, log@else.net";
  EXPECT_EQ(send("vault@else.net", platform::kAnswerCancel), 1000);
  EXPECT_NE(Engine().Operations().back(), "EncryptText");
  EXPECT_EQ(send("vault@else.net", platform::kAnswerOk), 0);
  EXPECT_EQ(Engine().Calls().back().arguments[0], all);
  // Covered by its domain or by an address there.
  for (const char* covered : {"example.net", "any@example.net"}) {
    EXPECT_EQ(send(covered, 0), 0) << covered;
    EXPECT_EQ(Engine().Calls().back().arguments[0], all) << covered;
  }
}

TEST_F(CryptoOperationsTest, WordsWhatBecameOfAnAttachment) {
  AttachmentNode data;
  data.sDisplayName = "a.txt";
  AttachmentNode signature;
  const auto worded = [&](std::int32_t status, std::vector<std::string> unknown = {}) {
    Engine().Always("VerifyFile",
                    {.status = status, .items = {"x@y"}, .unknown_items = std::move(unknown)});
    const std::string text = Crypto()->VerifyAttachment(data, signature);
    return text + " " + Decimal(data.lSignStatus) + Decimal(signature.lSignStatus);
  };
  EXPECT_EQ(worded(1), "Attachment: a.txt\r\nVerified signatures by: x@y 00");
  EXPECT_EQ(worded(0), "Attachment: a.txt\r\nFailed signatures by: x@y 11");
  EXPECT_EQ(worded(-13, {"id"}),
            "Attachment: a.txt\r\nSignatures by unknown signers were found -13-13");
  EXPECT_EQ(worded(-9),
            "Attachment: a.txt\r\nAn error occurred while verifying: Bad data format encountered. "
            "-9-9");
  // What could not be decrypted must not pass for forged.
  Engine().ClearCalls();
  data.lDecryptStatus = -3;
  EXPECT_EQ(worded(0),
            "Attachment: a.txt\r\nAn error occurred while verifying: Error encountered in content. "
            "-3-3");
  EXPECT_THAT(Engine().Calls(), IsEmpty());
}

TEST_F(CryptoOperationsTest, TellsSignaturesFromOtherFiles) {
  const auto item = outlook.NewMail();
  item->AddAttachment({"x", "Shown.txt", outlook.Keep("x"), "", ""});
  nodes_ = {std::make_shared<AttachmentNode>()};
  nodes_[0]->sFilename = "c:\\t\\A.TXT";
  const auto is_signature = [&](std::string_view path) {
    return Crypto()->IsSignature(path, nodes_, item);
  };
  EXPECT_TRUE(is_signature("c:\\t\\a.txt.SIG"));
  EXPECT_TRUE(is_signature("c:\\other\\shown.TXT.sig"));
  EXPECT_FALSE(is_signature("c:\\t\\b.sig"));
  EXPECT_FALSE(is_signature("c:\\t\\a.txt"));
  EXPECT_FALSE(is_signature(".sig"));
  EXPECT_FALSE(Crypto()->HasEncryptedOrSignedAttachments({}));
  EXPECT_FALSE(Crypto()->HasEncryptedOrSignedAttachments(nodes_));
  nodes_[0]->lSignStatus = -1;
  EXPECT_TRUE(Crypto()->HasEncryptedOrSignedAttachments(nodes_));
}

TEST_F(CryptoOperationsTest, TheEngineSaysWhetherAFileWithASignaturesNameIsOne) {
  const auto item = outlook.NewMail();
  item->AddAttachment({"a.txt", "a.txt", outlook.Keep("a"), "", ""});
  item->AddAttachment({"a.txt.SIG", "a.txt.SIG", outlook.Keep("b"), "", ""});
  for (const int status : {1, 0, -13, -6, -10, -3, -8, -9, -11}) {
    const bool proves = status >= 0 || status == -13 || status == -6 || status == -10;
    Engine().Always("VerifyFile", {.status = status});
    ASSERT_TRUE(Crypto()->StoreAllAttachments(item, nodes_, false));
    EXPECT_EQ(nodes_[1]->bDetachedSig, proves) << status;
    EXPECT_THAT(Engine().Calls().back().arguments, ElementsAre("", nodes_[1]->sFilename));
    Crypto()->KillAllFiles(nodes_);
  }
}

TEST_F(CryptoOperationsTest, AnUnreachableServerIsNotTakenForNoKey) {
  const struct {
    std::int32_t status;
    std::int32_t answer;
  } cases[] = {{0, 1}, {-16, -1}, {-13, 0}, {-8, 0}, {7, 0}};
  for (const auto& c : cases) {
    Engine().Once("QueryKeyPair", {.status = c.status});
    EXPECT_EQ(Crypto()->HasKeypair("ann@x.org"), c.answer) << c.status;
  }
  AllowError("haskeypair: ");
  Engine().Once("QueryKeyPair", {.thrown = Error{75, "Path/File access error"}});
  EXPECT_EQ(Crypto()->HasKeypair("ann@x.org"), -1);
  EXPECT_EQ(Trace(), std::vector<std::string>{"haskeypair: Path/File access error"});
}

TEST_F(CryptoOperationsTest, AuthenticateAsksInTheModeOfTheAttemptAndCountsIt) {
  const std::string first = "Please enter your Corvessa passphrase.";
  const std::string wrong = "You entered an incorrect passphrase.  Please try again.";
  struct Case {
    std::string prompt;
    ScriptedEngine::Answer engine;
    std::int32_t result;
    std::int16_t attempts;
  };
  std::int16_t attempts = 0;
  for (const Case& c : {Case{first, {}, 1, 0}, Case{first, {.status = -4}, -1, 1},
                        Case{"Unable to decrypt email.  Please select a different email address.",
                             {.status = -13},
                             -1,
                             2},
                        Case{wrong, {.thrown = Error{5, "lost"}}, -1, 2}, Case{wrong, {}, 0, 3}}) {
    const bool cancels = c.result == 1;
    ui.Expect<frmLogin>("frmLogin", [&](frmLogin& form) {
      EXPECT_EQ(form.txtPrompt1.Caption(), c.prompt);
      form.txtPassword.Type("open sesame");
      (cancels ? form.cmdCancel : form.cmdOK).Press();
    });
    if (!cancels) Engine().Once("AuthenticateAccount", c.engine);
    std::int16_t wrong_account = c.engine.status == -13 ? 1 : 0;
    EXPECT_EQ(Crypto()->Authenticate(attempts, wrong_account), c.result);
    EXPECT_EQ(attempts, c.attempts);
    // What was refused is not kept.
    EXPECT_EQ(g_colAccounts.front()->m_sPassword.IsEmpty(), c.result != 0);
  }
  AllowError("CryptoOperations::Authenticate - lost");
  EXPECT_TRUE(g_colAccounts.front()->GetAuthenticated());
}

TEST_F(CryptoOperationsTest, VectorsTakeEachTextOnceComparedExactly) {
  ScriptedStringVector addresses;
  for (const char* text : {"a@x.org", "   ", "", "a@x.org", "A@x.org", " a@x.org"}) {
    Crypto()->AddToVector(addresses, text);
  }
  EXPECT_EQ(addresses.items, (std::vector<std::string>{"a@x.org", "A@x.org", " a@x.org"}));
}

TEST_F(CryptoOperationsTest,
       SigningAsksForTheSignersPassphraseThreeTimesAndWrapsWhatIsNotEncrypted) {
  g_colAccounts[0]->m_bSigning = true;
  const auto item = outlook.NewMail();
  const std::string line(200, 'x');
  item->EditBody(line);
  const auto send = [&](bool sign_only) {
    WriteHeaderFlag(item, kNoEncrypt, sign_only);
    ui.ExpectBox("Failed to sign email.  Send without signature?", platform::kAnswerCancel);
    return Crypto()->SignAndEncryptItem(item, nodes_, false);
  };
  Engine().Always("AuthenticateAccount", {.status = -4});
  ExpectLogins({0, 0, 0});
  EXPECT_EQ(send(true), -1);
  const std::string signer = R"( {>"ann@example.org"})";
  const std::string wrong = "You entered an incorrect passphrase.  Please try again." + signer;
  EXPECT_THAT(prompts_,
              ElementsAre("Please enter your Corvessa passphrase." + signer, wrong, wrong));

  Engine().Always("AuthenticateAccount", {});
  ExpectLogins({0});
  const std::string wrapped =
      line.substr(0, 76) + "\r\n" + line.substr(0, 76) + "\r\n" + line.substr(0, 48);
  for (const bool sign_only : {true, false}) {
    Engine().Once("SignText", {.status = -3});
    ui.ExpectBox("Failed to sign message:\r\n\r\nError encountered in content.");
    EXPECT_EQ(send(sign_only), -3);
    EXPECT_EQ(Engine().Calls().back().arguments[0], sign_only ? wrapped : line);
  }
}

TEST_F(CryptoOperationsTest, TracesWhatStopsAnEncryption) {
  ui.AllowEverything();
  const auto item = outlook.NewMail();
  WriteHeaderFlag(item, kNoSign, true);
  const auto encrypt_for = [&](const char* name, const char* address) {
    item->EditRecipients({{desk::RecipientKind::kTo, name, address, "", {}}});
    return Crypto()->SignAndEncryptItem(item, nodes_, false);
  };
  EXPECT_EQ(encrypt_for("Nobody", ""), -14);
  Engine().Once("EncryptText", {.status = -3});
  EXPECT_EQ(encrypt_for("Bob", "bob@example.org"), -3);
  Engine().Once("EncryptText", {.thrown = Error{5, "lost"}});
  EXPECT_EQ(encrypt_for("Bob", "bob@example.org"), -11);
  AllowError("EncryptMailItem - Error \"lost");
  ExpectGolden("trace_of_failed_encryption", Trace());
}

TEST_F(CryptoOperationsTest, EveryStatusHasAText) {
  std::string texts;
  for (int i = 0; i < 14; ++i) texts += Decimal(-i) + " " + std::string(EngineErrorText(-i)) + "\n";
  ExpectGolden("engine_error_texts", texts);
  for (const int unknown : {-14, -15, 1, 5}) {
    EXPECT_EQ(EngineErrorText(unknown), "Unknown error encountered.");
  }
}

TEST_F(CryptoOperationsTest, ErrorsOfConfigurationReachTheCallerAndLeaveNoHalfConfiguredEngine) {
  g_oCrypto = nullptr;
  Engine().Once("SetOption", {.thrown = Error{5, "no such header"}});
  EXPECT_EQ(Attempt([] { CreateCrypto(); }).description, "no such header");
  EXPECT_EQ(g_oCrypto, nullptr);
  EXPECT_NE(CreateCrypto(), nullptr);
}

}  // namespace
}  // namespace corvessa::testing
