#include "crypto/crypto_operations.h"

#include <gmock/gmock.h>

#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "base/guard.h"
#include "base/text.h"
#include "crypto/engine_answers.h"
#include "crypto/stored_files.h"
#include "message/message_operations.h"
#include "settings/settings.h"
#include "support/addin_fixture.h"

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
      UserManagement::AddNimbraAccountUser(address);
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
              ElementsAre("DecryptTextEx", "GetEngineLastError", "AuthenticateAccount",
                          "AuthenticateAccount", "AuthenticateAccount", "DecryptTextEx",
                          "GetEngineLastError"));
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
  signature.sFilename = "c:\\a.txt.sig";
  std::vector<std::string> told;
  const auto verify = [&](std::int32_t status, std::vector<std::string> unknown = {}) {
    Engine().Always("VerifyFile",
                    {.status = status, .items = {"x@y"}, .unknown_items = std::move(unknown)});
    const std::string text = Crypto()->VerifyAttachment(data, signature);
    told.push_back(Replace(text, "\r\n", "\n") + " " + Decimal(data.lSignStatus) +
                   Decimal(signature.lSignStatus));
  };
  verify(1);
  verify(0);
  verify(-13, {"id"});
  verify(-9);
  // What could not be decrypted must not pass for forged.
  Engine().ClearCalls();
  data.lDecryptStatus = -3;
  verify(0);
  EXPECT_THAT(Engine().Calls(), IsEmpty());
  ExpectGolden("verified_attachments", told);
}

TEST_F(CryptoOperationsTest, AFileWithASignaturesNameIsOneWhenTheEngineSaysSo) {
  const auto item = outlook.NewMail();
  item->AddAttachment({"x", "Shown.txt", outlook.Keep("x"), "", ""});
  nodes_ = {std::make_shared<AttachmentNode>()};
  nodes_[0]->sFilename = "c:\\t\\A.TXT";
  for (const char* path : {"c:\\t\\a.txt.SIG", "c:\\other\\shown.TXT.sig"}) {
    EXPECT_TRUE(Crypto()->IsSignature(path, nodes_, item)) << path;
  }
  for (const char* path : {"c:\\t\\b.sig", "c:\\t\\a.txt", ".sig"}) {
    EXPECT_FALSE(Crypto()->IsSignature(path, nodes_, item)) << path;
  }
  EXPECT_FALSE(Crypto()->HasEncryptedOrSignedAttachments({}));
  EXPECT_FALSE(Crypto()->HasEncryptedOrSignedAttachments(nodes_));
  nodes_[0]->lSignStatus = -1;
  EXPECT_TRUE(Crypto()->HasEncryptedOrSignedAttachments(nodes_));

  nodes_.clear();
  item->AddAttachment({"x.SIG", "shown.txt.SIG", outlook.Keep("b"), "", ""});
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

TEST(StoredName, CannotLeaveItsFolderOrMeanADevice) {
  const std::string many(300, 'n');
  const std::pair<std::string, std::string> cases[] = {
      {"report.pdf", "report.pdf"},
      {"..\\..\\x", "x"},
      {"../../etc/passwd", "passwd"},
      {"c:\\windows\\win.ini", "win.ini"},
      {"a:b", "a_b"},
      {"..", "__"},
      {"", "attachment"},
      {"x\\", "attachment"},
      {"con", "_con"},
      {"Lpt1.tar.gz", "_Lpt1.tar.gz"},
      {"nul .txt", "_nul .txt"},
      {"console.txt", "console.txt"},
      {"Original", "_Original"},
      {"original.sig", "_original.sig"},
      {"original.txt", "original.txt"},
      {"1", "_1"},
      {"1a", "1a"},
      {"TMP36", "_TMP36"},
      {"tmp36.txt", "tmp36.txt"},
      {"name. . ", "name____"},
      {"a\tb\x01\"<>|?*", "ab______"},
      {"invoice\u202Efdp.exe", "invoicefdp.exe"},
      {"\xC3\xBC.txt", "\xC3\xBC.txt"},
      {many + ".pdf", many.substr(0, 156) + ".pdf"},
      {"con.sig", "_con.sig"},
      {many + ".pdf.SIG", many.substr(0, 156) + ".pdf.SIG"}};
  for (const auto& [given, stored] : cases) EXPECT_EQ(StoredFileName(given), stored) << given;
  std::string umlauts;
  for (int i = 0; i < 100; ++i) umlauts += "\xC3\xBC";
  EXPECT_EQ(StoredFileName("x" + umlauts).size(), 159U) << "no character is cut in two";
}

TEST(StoredName, PutsEachFileAPlaceOfItsOwnAndSignaturesBesideTheirData) {
  const auto places = [](const std::vector<std::string>& names) {
    std::string text;
    for (const StoredPlace& place : StoredPlaces(names)) {
      text += Decimal(place.subfolder) + ":" + place.name + " ";
    }
    return text;
  };
  EXPECT_EQ(places({}), "");
  EXPECT_EQ(places({"a", "A", "b", "a"}), "0:a 1:A 0:b 2:a ");
  EXPECT_EQ(places({"a.sig", "a", "a", "a.SIG"}), "0:a.sig 0:a 1:a 1:a.SIG ");
  // Two names that become one: each signature still finds the file it was made for.
  EXPECT_EQ(places({"a:b", "a_b", "a_b.sig", "a:b.sig"}), "0:a_b 1:a_b 1:a_b.sig 0:a_b.sig ");
  EXPECT_EQ(places({"x.sig", "x.sig"}), "0:x.sig 1:x.sig ");
  // A full folder takes no more files, but still the signatures of those in it.
  std::vector<std::string> many(41, "f");
  for (std::size_t i = 0; i < many.size(); ++i) many[i] += Decimal(static_cast<int>(i));
  many.insert(many.end(), {"f1", "f0.sig"});
  EXPECT_TRUE(places(many).ends_with("0:f39 1:f40 1:f1 0:f0.sig ")) << places(many);
}

TEST(TextWrapping, BreaksWhereTheRulesSay) {
  const struct {
    const char* what;
    std::string text;
    std::string wrapped;
  } cases[] = {
      {"nothing", "", ""},
      {"a line of the width", "1234567890", "1234567890"},
      {"a blank at the break is replaced", "12345 7890123", "12345\r\n7890123"},
      {"the last break wins", "1 3 5 7 90123", "1 3 5 7\r\n90123"},
      {"behind a comma", "12345,7890123", "12345,\r\n7890123"},
      {"behind a hyphen in the last column", "123456789-12", "123456789-\r\n12"},
      {"a comma in the last column takes its blank along", "123456789, 23", "123456789,\r\n23"},
      {"hard when there is no break", "123456789012345678901", "1234567890\r\n1234567890\r\n1"},
      {"a blank just past a full line", "1234567890 234", "1234567890\r\n234"},
      {"a line end at the width is kept", "1234567890\r\n12", "1234567890\r\n12"},
      {"line ends are kept as they are", "1\r\n\r\n2\n3\r4", "1\r\n\r\n2\n3\r4"},
      {"a line end starts the count anew", "12345\r\n1234567890 1", "12345\r\n1234567890\r\n1"},
      {"a blank at the start is a break", " 1234567890", "\r\n1234567890"},
      {"characters are counted, not bytes", "ääääääääää ö", "ääääääääää\r\nö"},
      {"a character is never cut", "€€€€€€€€€€€", "€€€€€€€€€€\r\n€"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(WrapText(c.text, 10), c.wrapped) << c.what;
    EXPECT_EQ(WrapText(WrapText(c.text, 10), 10), c.wrapped) << "again: " << c.what;
  }
  EXPECT_EQ(WrapText(std::string(200, 'x')),
            std::string(76, 'x') + "\r\n" + std::string(76, 'x') + "\r\n" + std::string(48, 'x'));
  EXPECT_EQ(WrapText("1 2", 0), "1 2");
}

}  // namespace
}  // namespace corvessa::testing
