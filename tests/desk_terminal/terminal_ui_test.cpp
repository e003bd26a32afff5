#include "desk/terminal/terminal_ui.h"

#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "desk/terminal/form_drawing.h"
#include "desk_terminal/terminal_fixture.h"
#include "forms/frm_no_keys_found.h"

namespace corvessa::testing {
namespace {

using Strings = std::vector<std::string>;
using TerminalUiTest = TerminalTest;

void SecureAddresses(const std::vector<std::string>& addresses) {
  for (const std::string& address : addresses) {
    g_colAccounts.push_back(std::make_shared<NimbraAccount>());
    g_colAccounts.back()->m_sAlias = address;
  }
}

/// What the passphrase prompt gives, as "address passphrase"; "none" when it was closed.
std::string Login(LoginReason reason = LoginReason::kFirstRequest) {
  const NimbraAccountPtr account = std::make_shared<frmLogin>()->DoLogin(reason, "", true);
  return account ? account->m_sAlias + " " + std::string(account->m_sPassword.View()) : "none";
}

TEST_F(TerminalUiTest, NothingInAFormSteersTheTerminalOrLeavesItsBox) {
  class frmMail final : public Form {
   public:
    frmMail() : Form("frmMail", "\x1B]0;owned\x07Mail", 400, 200) {
      lblFrom.UseMnemonic = false;
      lblFrom.SetCaption(
          "日本 A&B \x1B[2J\x9B"
          "31m\u202Egpj");
      lstRows.AddRow("r\x1B[1Aow\nx");
      txtBody.SetText(
          "a\tb\x1B[31m\r\n\x1B"
          "c" +
          std::string(45, '-') + " end");
    }
    Label lblFrom{*this, "lblFrom", {0, 0, 100, 13}};
    ListBox lstRows{*this, "lstRows", {0, 20, 100, 40}};
    TextBox txtBody{*this, "txtBody", {0, 60, 100, 90}, TextBox::Kind::kCourier};
  };
  EXPECT_EQ(desk::DrawForm(*std::make_shared<frmMail>(), nullptr, 40),
            "┌─ ]0;ownedMail ───────────────────────┐\n"
            "│ 日本 A&B [2J31mgpj                   │\n"
            "│   r[1Aowx                            │\n"
            "│ a       b[31m                        │\n"
            "│ c----------------------------------- │\n"
            "│ ---------- end                       │\n"
            "└──────────────────────────────────────┘\n");
}

TEST_F(TerminalUiTest, LinesChooseByKeyAndNumber) {
  Sit("2\n5\n4\n4\nS\n7\n3 typed\n3\nanew\na\nx\nf\n3\n\n\n");
  const auto form = std::make_shared<frmAll>();
  form->ShowModal();
  EXPECT_EQ(form->tbsTabs.Selected(), 2);
  EXPECT_EQ(form->lstRows.Describe(), R"({>"first" [ ], "second" [x], "added" [ ]})");
  EXPECT_TRUE(form->chkOn.Checked());
  EXPECT_TRUE(form->optPick[1].Selected());
  EXPECT_EQ(form->txtLine.Text(), "anew");
  EXPECT_FALSE(form->IsLoaded());
}

TEST_F(TerminalUiTest, EscapeCloseBoxAndTheEndOfInputAreToldApart) {
  const struct {
    std::string_view typed, answer;
    bool stays_loaded;
  } cases[] = {{"esc\n", "cmdCancel", true}, {"\x1B\n", "cmdCancel", true},
               {"q\n", "closed", false},     {"", "closed", false},
               {"a\n", "closed", false},     {"8\n", "cmdCancel", true}};
  for (const auto& c : cases) {
    Sit(c.typed);
    const auto form = std::make_shared<frmAll>();
    form->ShowModal();
    EXPECT_EQ(Ui().Boxes().back().answer, c.answer) << c.typed;
    EXPECT_EQ(form->IsLoaded(), c.stays_loaded) << c.typed;
    DropLoadedForms();
  }
}

TEST_F(TerminalUiTest, APassphraseIsNeverDrawn) {
  SecureAddresses({"ann@example.org", "bob@example.org"});
  // Nothing yet; the other address; the passphrase, which is accepted at once.
  Sit("\n2\nsesame\n");
  EXPECT_EQ(Login(), "bob@example.org sesame");
  EXPECT_EQ(Drawn().find("sesame"), std::string::npos);

  Sit("\n3 sesame\n\x1B\nesc\n");
  EXPECT_EQ(Login(), "none");
  EXPECT_NE(Drawn().find("A passphrase is not typed where it can be seen"), std::string::npos);
}

TEST_F(TerminalUiTest, APromptThatNobodyAnswersIsClosedAndNamed) {
  EXPECT_EQ(std::make_shared<frmNoKeysFound>()->SendUnencrypted(), 3);
  EXPECT_EQ(Ui().MessageBox("Secure this\r\naddress?", "Corvessa", platform::kBoxOkCancel),
            platform::kAnswerCancel);
  SecureAddresses({"ann@example.org"});
  EXPECT_EQ(Login(), "none");
  EXPECT_EQ(
      messages.str(),
      "corvessa-desk: closed frmNoKeysFound unanswered; answer it with --answer "
      "frmNoKeysFound=cmdYes|cmdNo\n"
      "corvessa-desk: closed MessageBox \"Secure this address?\" unanswered; answer it with "
      "--answer MessageBox=OK|Cancel\n"
      "corvessa-desk: closed frmLogin unanswered; answer it with --passphrase ADDRESS=FILE\n");
  EXPECT_EQ(Drawn(), "");
}

TEST_F(TerminalUiTest, AnAnswerThatDoesNotFitClosesTheFormAndSaysWhy) {
  const struct {
    std::string answer, problem;
  } cases[] = {{"cmdNone", "has no such control"},
               {"chkOff", "does not allow that now"},
               {"txtLine", "cannot have that pressed"}};
  for (const auto& c : cases) {
    messages.str("");
    answers = {};
    answers.AddAnswer("frmAll=" + c.answer);
    std::make_shared<frmAll>()->ShowModal();
    EXPECT_EQ(Ui().Boxes().back().answer, "closed") << c.answer;
    EXPECT_EQ(messages.str(),
              "corvessa-desk: --answer frmAll=" + c.answer + ": the form " + c.problem +
                  "\ncorvessa-desk: closed frmAll unanswered; answer it with --answer "
                  "frmAll=cmdAdd|cmdOK|cmdCancel\n");
  }
}

TEST_F(TerminalUiTest, PassphrasesAreTriedAddressByAddressAndThenNoMore) {
  SecureAddresses({"ann@example.org", "bob@example.org", "eve@example.org"});
  answers.SetPassphrase(" ANN@example.org", "one");
  answers.SetPassphrase("eve@example.org", "two");
  Strings tried{Login()};
  for (int i = 0; i < 4; ++i) tried.push_back(Login(LoginReason::kCannotDecrypt));
  answers.BeginRound();
  tried.push_back(Login());
  EXPECT_EQ(tried, (Strings{"ann@example.org one", "eve@example.org two", "ann@example.org one",
                            "none", "none", "ann@example.org one"}));
}

TEST_F(TerminalUiTest, TimersTickOnceAnIntervalAndCatchUp) {
  const auto form = std::make_shared<frmAll>();
  form->Load();
  const auto ticks_after = [&](int passed) {
    time += std::chrono::milliseconds(passed);
    Ui().DoEvents();
    return form->ticks;
  };
  EXPECT_EQ(ticks_after(0), 0);
  EXPECT_EQ(ticks_after(99), 0);
  EXPECT_EQ(ticks_after(351), 4);
  // A long call: a hundred a run, and none is lost.
  EXPECT_EQ(ticks_after(15000), 104);
  EXPECT_EQ(ticks_after(0), 154);
  // A tick that lets events run, after which two intervals have passed.
  form->tmrTick.OnTimer = [&] {
    ++form->ticks;
    Ui().DoEvents();
  };
  EXPECT_EQ(ticks_after(200), 156);
}

}  // namespace
}  // namespace corvessa::testing
