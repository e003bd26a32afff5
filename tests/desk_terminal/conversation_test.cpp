#include "desk/terminal/conversation.h"

#include "desk/terminal/choices.h"
#include "desk/terminal/columns.h"
#include "desk/terminal/form_drawing.h"
#include "desk_terminal/terminal_fixture.h"
#include "desk_terminal/test_forms.h"
#include "forms/frm_e_mail.h"
#include "forms/frm_progress.h"

namespace corvessa::testing {
namespace {

using Strings = std::vector<std::string>;
using ConversationTest = TerminalTest;

constexpr std::string_view kBoxOfAll = R"(┌─ All & everything ────────────┐
│ 1) [One]  2) Two              │
│ Name:  3) [_____________]     │
│ 4)   [ ] first                │
│ 5)   [ ] second               │
│ a) <Add>  v) <Remove>         │
│ Addresses:                    │
│ 6) > ann@example.org <Signer> │
│ s) [ ] Sign & send            │
│ ([ ] Off)                     │
│ ┌─ Pick ────────────────┐     │
│ │ 7) ( ) Yes  8) ( ) No │     │
│ └───────────────────────┘     │
│ o) <Ok>  9) <Abort>           │
└───────────────────────────────┘
)";

TEST_F(ConversationTest, EveryControlIsDrawnBehindItsKey) {
  const auto form = std::make_shared<frmAll>();
  const desk::Choices choices(*form);
  EXPECT_EQ(desk::DrawForm(*form, &choices, 80), kBoxOfAll);
  EXPECT_EQ(desk::TextOf(*form), "Name:\nfirst\nsecond\nann@example.org");
}

TEST_F(ConversationTest, NothingInAFormSteersTheTerminalOrLeavesItsBox) {
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
  EXPECT_EQ(desk::DrawMessage("one\x1B[2J\r\ntwo", "T", "(!)", 40),
            "┌─ T ────────┐\n"
            "│ (!) one[2J │\n"
            "│ two        │\n"
            "└────────────┘\n");
  EXPECT_EQ(desk::CutToColumns("日本語", 5), "日本…");
  EXPECT_EQ(Ui().TextWidth("日本 e\u0301"), 6 * 6);
}

TEST_F(ConversationTest, LinesChooseByKeyAndNumber) {
  Sit("2\n5\n4\n4\nS\n8\n3 typed\n3\nanew\na\nx\nf\n3\n\n\n");
  const auto form = std::make_shared<frmAll>();
  form->ShowModal();
  EXPECT_EQ(form->tbsTabs.Selected(), 2);
  EXPECT_TRUE(form->lstRows.RowChecked(1));
  EXPECT_FALSE(form->lstRows.RowChecked(0));
  EXPECT_EQ(form->lstRows.Selected(), 0);
  EXPECT_EQ(form->lstRows.RowCount(), 3);
  EXPECT_TRUE(form->chkOn.Checked());
  EXPECT_TRUE(form->optPick[1].Selected());
  EXPECT_EQ(form->txtLine.Text(), "anew");
  EXPECT_EQ(form->left, 2);
  EXPECT_FALSE(form->IsLoaded());
  EXPECT_EQ(Boxes(),
            Strings{"frmAll|All & everything|Name:\nfirst\nsecond\nann@example.org|cmdOK"});
  const std::string drawn = Drawn();
  EXPECT_NE(drawn.find("Choice (Enter = Ok, esc = Abort, q = close): There is no choice \"x\" "
                       "here.\n"),
            std::string::npos);
}

TEST_F(ConversationTest, EscapeCloseBoxAndTheEndOfInputAreToldApart) {
  const struct {
    std::string_view typed;
    std::string_view answer;
    bool stays_loaded;
  } cases[] = {{"esc\n", "cmdCancel", true}, {"\x1B\n", "cmdCancel", true},
               {"q\n", "closed", false},     {"", "closed", false},
               {"a\n", "closed", false},     {"9\n", "cmdCancel", true}};
  for (const auto& c : cases) {
    Sit(c.typed);
    const auto form = std::make_shared<frmAll>();
    form->ShowModal();
    EXPECT_EQ(Ui().Boxes().back().answer, c.answer) << c.typed;
    EXPECT_EQ(form->IsLoaded(), c.stays_loaded) << c.typed;
    DropLoadedForms();
  }
}

TEST_F(ConversationTest, AFormThatRefusesToCloseEndsWithTheInput) {
  Sit("q\n");
  const auto form = std::make_shared<frmProgress>();
  form->ShowModal();
  EXPECT_FALSE(form->IsVisible());
  EXPECT_NE(Drawn().find("This cannot be closed now.\n"), std::string::npos);
}

TEST_F(ConversationTest, AModelessFormCanBeLeftOpen) {
  Sit("s\nleave\n");
  const auto form = std::make_shared<frmAll>();
  form->Show();
  EXPECT_NE(Drawn().find("│ <Ok>  <Abort> "), std::string::npos);
  Ui().RunForm(*form);
  EXPECT_TRUE(form->IsVisible());
  EXPECT_TRUE(form->chkOn.Checked());
  EXPECT_EQ(Ui().Boxes().size(), 1U);
}

TEST_F(ConversationTest, TextIsAskedForWhereTheFocusIsAndEnterPressesTheDefaultButton) {
  // The first text is refused by a box; then Enter alone goes on to the other choices, by which the
  // box is filled in and, after one more Enter alone, accepted.
  Sit("ann\n\n\n?\n1 ANN@example.org\n\n\n");
  const auto form = std::make_shared<frmEMail>();
  EXPECT_EQ(form->GetUserDlg(), "ann@example.org");
  ASSERT_EQ(Ui().Boxes().size(), 2U);
  EXPECT_EQ(Ui().Boxes()[1].text, "Please enter a valid email address");
  EXPECT_EQ(Ui().Boxes()[1].answer, "OK");
}

TEST_F(ConversationTest, APassphraseIsNeverDrawn) {
  SecureAddresses({"ann@example.org", "bob@example.org"});
  // Nothing yet; the other address; the passphrase, which is accepted at once.
  Sit("\n2\nsesame\n");
  EXPECT_EQ(Login(), "bob@example.org sesame");
  const std::string drawn = Drawn();
  EXPECT_NE(drawn.find("│ 2)   bob@example.org"), std::string::npos);
  EXPECT_NE(drawn.find("Passphrase (Enter alone for the other choices): "), std::string::npos);
  EXPECT_EQ(drawn.find("sesame"), std::string::npos);

  Sit("\n3 sesame\n\x1B\nesc\n");
  EXPECT_EQ(Login(), "none");
  EXPECT_NE(Drawn().find("A passphrase is not typed where it can be seen"), std::string::npos);
}

}  // namespace
}  // namespace corvessa::testing
