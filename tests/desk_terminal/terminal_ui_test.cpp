#include "desk/terminal/terminal_ui.h"

#include "desk_terminal/terminal_fixture.h"
#include "desk_terminal/test_forms.h"
#include "forms/frm_html.h"
#include "forms/frm_modal_show_in_taskbar.h"
#include "forms/frm_no_keys_found.h"
#include "forms/frm_progress.h"

namespace corvessa::testing {
namespace {

using Strings = std::vector<std::string>;
using std::chrono::milliseconds;
using TerminalUiTest = TerminalTest;

constexpr std::int32_t kAsk = platform::kBoxOkCancel | platform::kBoxInformation;

std::int32_t AskNoKeysFound() {
  const auto form = std::make_shared<frmNoKeysFound>();
  form->lstEmailAddr.AddRow("eve@example.org");
  const std::int32_t result = form->SendUnencrypted();
  form->Unload();
  return result;
}

TEST_F(TerminalUiTest, APromptThatNobodyAnswersIsClosedAndNamed) {
  EXPECT_EQ(AskNoKeysFound(), 3);
  EXPECT_EQ(Ui().MessageBox("Secure this\r\naddress?", "Corvessa", kAsk), platform::kAnswerCancel);
  EXPECT_EQ(Ui().MessageBox("It\x1B[2J failed", "Corvessa", platform::kBoxError),
            platform::kAnswerOk);
  SecureAddresses({"ann@example.org"});
  EXPECT_EQ(Login(), "none");
  EXPECT_EQ(
      Reported(),
      "corvessa-desk: closed frmNoKeysFound unanswered; answer it with --answer "
      "frmNoKeysFound=cmdYes|cmdNo\n"
      "corvessa-desk: closed MessageBox \"Secure this address?\" unanswered; answer it with "
      "--answer MessageBox=OK|Cancel\n"
      "corvessa-desk: It[2J failed\n"
      "corvessa-desk: closed frmLogin unanswered; answer it with --passphrase ADDRESS=FILE\n");
  EXPECT_EQ(Drawn(), "");
  EXPECT_EQ(Boxes(),
            (Strings{"frmNoKeysFound|Sending Email|The following recipients are not registered to "
                     "receive secure email:\neve@example.org\nWould you like to send this email "
                     "without encryption?|closed",
                     "MessageBox|Corvessa|Secure this\naddress?|Cancel",
                     "MessageBox|Corvessa|It[2J failed|OK",
                     "frmLogin|Sign In To Your Secure Email|Please enter your  passphrase.\nEmail "
                     "Address:\nann@example.org\nPassphrase:|closed"}));
}

TEST_F(TerminalUiTest, AnswersAreUsedInOrderTheLastOneAgainAndAgain) {
  answers.AddAnswer("frmNoKeysFound=cmdNo");
  answers.AddAnswer("frmNoKeysFound=cmdYes");
  EXPECT_EQ(AskNoKeysFound(), 7);
  EXPECT_EQ(AskNoKeysFound(), 6);
  EXPECT_EQ(AskNoKeysFound(), 6);
  answers.AddAnswer("MessageBox=cancel");
  answers.AddAnswer("MessageBox=OK");
  EXPECT_EQ(Ui().MessageBox("Told", "", platform::kBoxInformation), platform::kAnswerOk);
  EXPECT_EQ(Ui().MessageBox("1", "", kAsk), platform::kAnswerCancel);
  EXPECT_EQ(Ui().MessageBox("2", "", kAsk), platform::kAnswerOk);
  EXPECT_EQ(Reported(), "corvessa-desk: Told\n");
}

TEST_F(TerminalUiTest, SeveralAnswersFillInOneShowing) {
  const auto form = std::make_shared<frmAll>();
  for (const char* answer : {"frmAll=tbsTabs:Two", "frmAll=lstRows:second", "frmAll=txtLine:a:b",
                             "frmAll=chkOn", "frmAll=optPick(1)", "frmAll=cmdOK"}) {
    answers.AddAnswer(answer);
  }
  form->ShowModal();
  EXPECT_EQ(form->tbsTabs.Selected(), 2);
  EXPECT_TRUE(form->lstRows.RowChecked(1));
  EXPECT_EQ(form->txtLine.Text(), "a:b");
  EXPECT_TRUE(form->chkOn.Checked());
  EXPECT_TRUE(form->optPick[1].Selected());
  EXPECT_EQ(Ui().Boxes()[0].answer, "cmdOK");
  EXPECT_EQ(Reported(), "");
}

TEST_F(TerminalUiTest, AnAnswerThatDoesNotFitClosesTheFormAndSaysWhy) {
  const struct {
    std::string_view answer;
    std::string_view problem;
  } cases[] = {{"cmdNone", "has no such control"},
               {"optPick", "has no such control"},
               {"cmdHidden", "does not allow that now"},
               {"chkOff", "does not allow that now"},
               {"lstRows:third", "does not take that text there"},
               {"txtLine", "cannot have that pressed"}};
  // One that leaves the form open is given once a showing, not for ever.
  answers.AddAnswer("frmAll=chkOn");
  const auto form = std::make_shared<frmAll>();
  form->ShowModal();
  EXPECT_TRUE(form->chkOn.Checked());
  EXPECT_EQ(Ui().Boxes().back().answer, "closed");
  for (const auto& c : cases) {
    messages.str("");
    answers = {};
    answers.AddAnswer("frmAll=" + std::string(c.answer));
    std::make_shared<frmAll>()->ShowModal();
    EXPECT_EQ(Ui().Boxes().back().answer, "closed") << c.answer;
    EXPECT_EQ(Reported(), "corvessa-desk: --answer frmAll=" +
                              std::string(c.answer.substr(0, c.answer.find(':'))) + ": the form " +
                              std::string(c.problem) +
                              "\ncorvessa-desk: closed frmAll unanswered; answer it with --answer "
                              "frmAll=cmdAdd|cmdRemove|cmdOK|cmdCancel\n");
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

TEST_F(TerminalUiTest, ThePersonIsAskedWhereTheAnswersEnd) {
  SecureAddresses({"ann@example.org"});
  answers.SetPassphrase("ann@example.org", "wrong");
  Sit("right\n");
  EXPECT_EQ(Login(LoginReason::kWrongPassphrase), "ann@example.org wrong");
  EXPECT_EQ(Drawn(), "");
  EXPECT_EQ(Login(LoginReason::kWrongPassphrase), "ann@example.org right");
}

TEST_F(TerminalUiTest, AMessageBoxIsAnsweredByLine) {
  const struct {
    std::string_view typed;
    std::int32_t flags;
    std::int32_t answer;
  } cases[] = {{"\n", kAsk, 1},     {"?\nOK\n", kAsk, 1}, {"c\n", kAsk, 2},
               {"\x1B\n", kAsk, 2}, {"", kAsk, 2},        {"", platform::kBoxError, 1}};
  for (const auto& c : cases) {
    Sit(c.typed);
    EXPECT_EQ(Ui().MessageBox("Really?", "Corvessa", c.flags), c.answer) << c.typed;
  }
  Drawn();
  Ui().MessageBox("Really?", "Corvessa", kAsk);
  EXPECT_EQ(Drawn(),
            "┌─ Corvessa ──┐\n"
            "│ (i) Really? │\n"
            "└─────────────┘\n"
            "Enter = OK, c = Cancel: ");
}

TEST_F(TerminalUiTest, ProgressIsOneLineRedrawnAndTakenAway) {
  Sit("");
  const auto form = std::make_shared<frmProgress>();
  form->Init(nullptr, 4);
  form->SetCaption("Don\x1B[2Je", 2);
  Ui().DoEvents();
  form->Finish();
  EXPECT_EQ(Drawn(),
            "\r[------------------------------] Step 0/0"
            "\r[######################--------] Don[2Je "
            "\r[##############################] Finished\r" +
                std::string(41, ' ') + "\r");
}

TEST_F(TerminalUiTest, WithoutATerminalProgressAndTheTaskBarHelperAreSilent) {
  std::make_shared<frmProgress>()->Init(nullptr, 4);
  ShowModalForm(*std::make_shared<frmHTML>());
  EXPECT_EQ(Drawn(), "");
  ASSERT_EQ(Ui().Boxes().size(), 2U);
  EXPECT_EQ(Ui().Boxes()[0].name, "frmProgress");
  EXPECT_EQ(Ui().Boxes()[1].name, "frmHTML");
}

TEST_F(TerminalUiTest, TimersTickOnceAnIntervalAndCatchUp) {
  const auto form = std::make_shared<frmTicking>();
  form->Load();
  const auto ticks_after = [&](int passed) {
    time += milliseconds(passed);
    Ui().DoEvents();
    return form->ticks;
  };
  EXPECT_EQ(ticks_after(0), 0);
  EXPECT_EQ(ticks_after(99), 0);
  EXPECT_EQ(ticks_after(1), 1);
  EXPECT_EQ(ticks_after(350), 4);
  EXPECT_EQ(ticks_after(50), 5);
  // A long call: a hundred a run, and none is lost.
  EXPECT_EQ(ticks_after(15000), 105);
  EXPECT_EQ(ticks_after(0), 155);
  // A tick that lets events run, after which two intervals have passed.
  form->tmrTick.OnTimer = [&] {
    ++form->ticks;
    Ui().DoEvents();
  };
  EXPECT_EQ(ticks_after(200), 157);
  form->tmrTick.Enabled = false;
  EXPECT_EQ(ticks_after(500), 157);
  form->tmrTick.Enabled = true;
  EXPECT_EQ(ticks_after(500), 157);
  EXPECT_EQ(ticks_after(100), 158);
  // The clock moves on at every look, so that the wait ends without being slept through.
  form->tmrTick.OnTimer = [&] { ++form->ticks; };
  step = milliseconds(100);
  Ui().Wait(milliseconds(1000));
  step = milliseconds(0);
  EXPECT_GE(form->ticks, 168);
  const int ticks = form->ticks;
  form->Unload();
  EXPECT_EQ(ticks_after(500), ticks);
}

}  // namespace
}  // namespace corvessa::testing
