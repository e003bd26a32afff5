#include "desk/terminal/terminal_ui.h"

#include <fcntl.h>
#include <optional>
#include <sstream>
#include <unistd.h>

#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "desk/terminal/answers.h"
#include "desk/terminal/choices.h"
#include "desk/terminal/form_drawing.h"
#include "desk/terminal/terminal.h"
#include "forms/dialogs.h"
#include "forms/frm_progress.h"
#include "support/addin_fixture.h"
#include "ui/controls.h"
#include "ui/list_controls.h"

namespace corvessa::testing {
namespace {

using Strings = std::vector<std::string>;
using UserManagement::AddNimbraAccountUser;

/// The terminal's Ui as the host's, with a user whose lines are typed in advance, or without one.
class TerminalUiTest : public AddInFixture {
 protected:
  TerminalUiTest() { Start("/dev/null", false); }
  ~TerminalUiTest() override {
    close(input_);
    close(output_);
  }

  /// From now on there is a user, who types these lines and leaves.
  void Type(std::string_view lines) {
    WriteContent(profile / "typed", lines);
    Start(profile / "typed", true);
  }
  /// What was drawn since the last call.
  std::string Drawn() {
    std::string text = ContentOf(profile / "drawn");
    EXPECT_EQ(ftruncate(output_, 0), 0);
    return text;
  }
  desk::TerminalUi& Ui() { return *ui_; }

  std::ostringstream messages;
  desk::Answers answers;

 private:
  void Start(const std::filesystem::path& input, bool is_there) {
    if (input_ >= 0) close(input_);
    input_ = open(input.c_str(), O_RDONLY | O_CLOEXEC);
    terminal_.emplace(input_, output_, is_there);
    const auto last = std::exchange(
        ui_,
        std::make_unique<desk::TerminalUi>(*terminal_, answers, desk::TerminalUiOptions{messages}));
    InstallHostWith(*ui_);
  }

  int output_ = open((profile / "drawn").c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  int input_ = -1;
  std::optional<desk::Terminal> terminal_;
  std::unique_ptr<desk::TerminalUi> ui_;
};

/// What the passphrase prompt gives, as "address passphrase"; "none" when it was closed.
std::string Login(LoginReason reason = LoginReason::kFirstRequest) {
  const NimbraAccountPtr account = std::make_shared<frmLogin>()->DoLogin(reason, "", true);
  return account ? account->m_sAlias + " " + std::string(account->m_sPassword.View()) : "none";
}

TEST_F(TerminalUiTest, DrawsNothingThatSteersTheTerminalOrLeavesItsBox) {
  class frmMail final : public Form {
   public:
    frmMail() : Form("frmMail", "\x1B]0;owned\x07Mail", 400, 200) {
      lblFrom.SetUseMnemonic(false);
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
  ExpectGolden("terminal_hostile_mail", desk::DrawForm(*std::make_shared<frmMail>(), nullptr, 40));
}

/// Two texts to type, a list that only tells and no default button.
class frmTexts final : public Form {
 public:
  frmTexts() : Form("frmTexts", "Texts", 400, 200) {
    lstTold.AddRow("told");
    lstTold.SetSelectable(false);
    cmbOnly.AddRow("only");
    cmbOnly.Select(0);
    SetFocus(txtFirst);
    cmdSave.OnClick = [this] {
      saved.push_back(std::string(txtFirst.Text()).append(",").append(txtSecond.Text()));
    };
  }

  ListBox lstTold{*this, "lstTold", {0, 0, 200, 20}};
  ComboBox cmbOnly{*this, "cmbOnly", {0, 20, 200, 20}};
  Label lblFirst{*this, "lblFirst", {0, 40, 50, 20}, "First:"};
  TextBox txtFirst{*this, "txtFirst", {60, 40, 300, 20}};
  Label lblSecond{*this, "lblSecond", {0, 60, 50, 20}, "Second:"};
  TextBox txtSecond{*this, "txtSecond", {60, 60, 300, 20}, TextBox::Kind::kPassword};
  CommandButton cmdSave{*this, "cmdSave", {0, 80, 75, 23}, "&Save"};
  Strings saved;
};

TEST_F(TerminalUiTest, AsksForTextBoxesInTurnAndOnlyOnce) {
  const struct {
    std::string_view typed;
    Strings saved;
    bool saves_by_enter;
  } cases[] = {{"one\ntwo\ns\n1 three\ns\nq\n", {"one,two", "three,two"}, false},
               {"\n\ns\none\n\ns\n\ns\n", {",", "one,", "one,"}, false},
               {"one\ntwo\n\nq\n", {"one,two", "one,two"}, true}};
  for (const auto& c : cases) {
    Type(c.typed);
    const auto form = std::make_shared<frmTexts>();
    form->cmdSave.SetDefault(c.saves_by_enter);
    form->ShowModal();
    EXPECT_EQ(form->saved, c.saved) << c.typed;
  }
}

TEST_F(TerminalUiTest, DrawsAFormWithKeysAndFitsANarrowTerminal) {
  Type("\n");
  const auto form = std::make_shared<frmTexts>();
  form->txtSecond.SetEnabled(false);
  form->Show();
  Ui().RunForm(*form);
  ExpectGolden("terminal_form", Drawn());
  const desk::Choices choices(*form);
  form->txtFirst.SetText(std::string(40, 'x'));
  ExpectGolden("terminal_form_narrow", desk::DrawForm(*form, &choices, 30));
  const auto progress = std::make_shared<frmProgress>();
  progress->lblDescription.SetCaption("Storing attachments (2 of 5)");
  progress->pgbProgress.SetValue(50);
  EXPECT_EQ(desk::StatusLine(*progress, 40), "[####----] Storing attachments (2 of 5)");
  EXPECT_EQ(desk::StatusLine(*progress, 80),
            "[###############---------------] Storing attachments (2 of 5)");
}

TEST_F(TerminalUiTest, NeverDrawsAPassphrase) {
  for (const char* name : {"ann", "bob"}) AddNimbraAccountUser(name + std::string("@example.org"));
  // Nothing; the other address; the passphrase, which is accepted at once.
  Type("\n2\nsesame\n");
  EXPECT_EQ(Login(), "bob@example.org sesame");
  EXPECT_EQ(Drawn().find("sesame"), std::string::npos);

  Type("\n3 sesame\n\x1B\nesc\n");
  EXPECT_EQ(Login(), "none");
  EXPECT_NE(Drawn().find("Do not type a passphrase where it is visible"), std::string::npos);

  // It goes to the wrong prompt, while a progress bar is shown.
  Type("\nsesame\nesc\n");
  const auto progress = std::make_shared<frmProgress>();
  progress->Show();
  EXPECT_EQ(Login(), "none");
  const std::string drawn = Drawn();
  constexpr std::string_view kChoice = "Choice (esc = Cancel, close, ? = help): ";
  constexpr std::string_view kStatus = "[------------------------------] Step 0/0";
  EXPECT_EQ(drawn.substr(drawn.find("Passphrase (")),
            "Passphrase (Enter for other choices): \n" + std::string(kChoice) +
                "Unknown choice.\n" + std::string(kChoice) + "\r" + std::string(kStatus) + "\r" +
                std::string(kStatus.size(), ' ') +
                "\rCancel was pressed. The window is closed.\n\r" + std::string(kStatus));
}

TEST_F(TerminalUiTest, ClosesAndNamesAnUnansweredPrompt) {
  EXPECT_EQ(ShowGeneric(
                "nob\x1B[2Jody" + std::string(400, 'x') + "\r\n" + std::string(93, 'y') + "Really?",
                frmGeneric::kYesNo),
            kResultClosed);
  EXPECT_EQ(messages.str(), "corvessa-desk: closed frmGeneric \"nob[2Jody" + std::string(291, 'x') +
                                " … " + std::string(93, 'y') +
                                "Really?\" unanswered; use --answer frmGeneric=cmdOK|cmdCancel\n");
  EXPECT_EQ(Drawn(), "");
}

TEST_F(TerminalUiTest, TriesEachPassphraseInTurnAndThenStops) {
  for (const char* name : {"ann", "bob", "eve"})
    AddNimbraAccountUser(name + std::string("@example.org"));
  answers.SetPassphrase(" ANN@example.org", "one");
  answers.SetPassphrase("eve@example.org", "two");
  Strings tried{Login()};
  for (int i = 0; i < 4; ++i) tried.push_back(Login(LoginReason::kCannotDecrypt));
  answers.BeginRound();
  tried.push_back(Login());
  EXPECT_EQ(tried, (Strings{"ann@example.org one", "eve@example.org two", "ann@example.org one",
                            "none", "none", "ann@example.org one"}));
}

}  // namespace
}  // namespace corvessa::testing
