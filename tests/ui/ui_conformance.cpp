#include "ui/ui_conformance.h"

#include "platform/host.h"
#include "platform/ui.h"

namespace corvessa::testing {
namespace {

using Lines = std::vector<std::string>;

constexpr std::int32_t kAskBox = platform::kBoxInformation | platform::kBoxOkCancel;
constexpr std::string_view kTitle = "Corvessa Professional for Outlook";

}  // namespace

frmProbe::frmProbe(Lines& log, std::string name)
    : Form(std::move(name), "A probe", 400, 300), log_(log) {
  for (const char* row : {"first", "second", "third"}) {
    lstMarks.AddRow(row);
    cmbUsers.AddRow(row);
    lvwRows.AddRow(row);
  }
  fraPick.Hold({&optPick[0], &optPick[1]});
  cmdOK.SetDefault(true);
  cmdCancel.SetCancel(true);
  tmrTick.SetEnabled(false);
  txtLine.OnChange = [this] { Note("line " + std::string(txtLine.Text())); };
  txtLine.OnLostFocus = [this] { Note("line left"); };
  txtSecret.OnChange = [this] { Note("secret " + std::string(txtSecret.Text())); };
  lstMarks.OnClick = [this] { Note("marks " + lstMarks.Describe()); };
  cmbUsers.OnClick = [this] { Note("users " + cmbUsers.SelectedText()); };
  lvwRows.OnClick = [this] { Note("rows " + lvwRows.SelectedText()); };
  tbsTabs.OnClick = [this] { Note("tabs " + tbsTabs.Describe()); };
  chkMark.OnClick = [this] { Note("mark " + chkMark.Describe()); };
  for (OptionButton& option : optPick) {
    option.OnClick = [this, &option] { Note("pick " + option.Caption()); };
  }
  cmdOther.OnClick = [this] { Note("other"); };
  tmrTick.OnTimer = [this] { Note("tick"); };
  cmdOK.OnClick = [this] {
    Note("ok");
    Hide();
  };
  cmdCancel.OnClick = [this] {
    Note("cancel");
    Unload();
  };
}

TEST_P(UiConformance, EveryControlTakesTheUsersInputAndRaisesItsEventsInOrder) {
  const auto form = NewForm();
  user->Plan({Type(form->txtLine, "typed"), Click(form->cmdOther), Type(form->txtSecret, "pa ss"),
              Click(form->lstMarks, 1), Click(form->cmbUsers, 2), Click(form->lvwRows, 1),
              Click(form->tbsTabs, 2), Click(form->tbsTabs, 2), Click(form->chkMark),
              Click(form->optPick[0]), Click(form->optPick[1]), Click(form->optPick[1]), [&] {
                user->ExpectShown(*form);
                user->Click(form->cmdOK);
              }});
  form->ShowModal();
  EXPECT_EQ(TakeLog(),
            (Lines{"load", "activate", "line typed", "line left", "other", "secret pa ss",
                   "marks {\"first\" [ ], >\"second\" [x], \"third\" [ ]}", "users third",
                   "rows second", "tabs {\"One\", >\"Two\"}", "tabs {\"One\", >\"Two\"}",
                   "mark \"&Mark\" [x]", "pick Yes", "pick No", "ok"}));
  EXPECT_FALSE(form->IsVisible());
  EXPECT_TRUE(form->IsLoaded());
}

TEST_P(UiConformance, WhatIsHiddenDisabledOrReadOnlyTakesNoInput) {
  const auto form = NewForm();
  form->fraPick.SetEnabled(false);
  form->lvwRows.SetSelectable(false);
  form->cmdOther.SetVisible(false);
  user->Plan({Click(form->optPick[0]), Click(form->lvwRows, 1), Click(form->cmdOther),
              Type(form->txtLog, "x"),
              [&] {
                form->fraPick.SetVisible(false);
                form->fraPick.SetEnabled(true);
                user->Click(form->optPick[0]);
              },
              [&] {
                form->fraPick.SetVisible(true);
                user->Click(form->optPick[0]);
              },
              [&] {
                user->ExpectShown(*form);
                user->Click(form->cmdOK);
              }});
  form->ShowModal();
  EXPECT_EQ(TakeLog(), (Lines{"load", "activate", "pick Yes", "ok"}));
  EXPECT_EQ(form->txtLog.Text(), "");
}

TEST_P(UiConformance, ChangesMadeByTheProgramAreShown) {
  const auto form = NewForm();
  user->Plan({[&] {
                form->SetWindowCaption("Another caption");
                form->SetSize(420, 330);
                form->lblPrompt.SetCaption("Other words:");
                form->txtLine.SetText("set");
                form->txtLog.AppendText("one\r\n");
                form->txtLog.AppendText("two\r\n");
                form->lstMarks.RemoveRow(0);
                form->lstMarks.SetRowChecked(0, true);
                form->cmbUsers.Select(1);
                form->lvwRows.ClearRows();
                form->lvwRows.AddRow("only");
                form->lvwRows.SetColumnHeader("Header");
                form->tbsTabs.Select(2);
                form->chkMark.SetChecked(true);
                form->optPick[1].Select();
                form->pgbDone.SetRange(0, 4);
                form->pgbDone.SetValue(3);
                form->cmdOther.SetBounds({250, 290, 75, 23});
                form->cmdOther.SetEnabled(false);
                user->PressEnter(*form);
              },
              [&] {
                user->ExpectShown(*form);
                user->Click(form->cmdCancel);
              }});
  // Enter does something else first, so that the form is looked at once more.
  form->cmdOK.OnClick = [&] { form->cmdOK.SetCaption("&Onward"); };
  form->ShowModal();
  EXPECT_FALSE(form->IsLoaded());
}

TEST_P(UiConformance, EnterAndEscapePressTheDefaultAndTheCancelButton) {
  const auto form = NewForm();
  user->Plan({[&] {
                form->cmdOK.SetDefault(false);
                form->cmdOther.SetDefault(true);
                user->PressEnter(*form);
              },
              [&] {
                form->cmdCancel.SetCancel(false);
                form->cmdOK.SetCancel(true);
                user->PressEscape(*form);
              }});
  form->ShowModal();
  EXPECT_EQ(TakeLog(), (Lines{"load", "activate", "other", "ok"}));
}

TEST_P(UiConformance, HidingUnloadingAndTheCloseBoxAreThreeThings) {
  auto form = NewForm();
  user->Plan({Click(form->cmdOK)});
  form->ShowModal();
  EXPECT_TRUE(form->IsLoaded());
  EXPECT_FALSE(form->IsModal());
  form->refuses = true;
  user->Plan({[&] { user->PressCloseBox(*form); },
              [&] {
                EXPECT_TRUE(form->IsVisible() && form->IsModal());
                form->refuses = false;
                user->PressCloseBox(*form);
              }});
  form->ShowModal();
  EXPECT_FALSE(form->IsLoaded());
  user->Plan({Click(form->cmdCancel)});
  form->ShowModal();
  EXPECT_FALSE(form->IsLoaded());
  EXPECT_TRUE(LoadedForms().empty());
  form = nullptr;
  EXPECT_EQ(TakeLog(), (Lines{"load", "activate", "ok", "activate", "query", "query", "unload",
                              "load", "activate", "cancel", "query", "unload", "gone"}));
}

TEST_P(UiConformance, ModalFormsNestAndEndInAnyOrder) {
  const auto outer = NewForm("frmOuter");
  const auto inner = NewForm("frmInner");
  outer->cmdOther.OnClick = [&] {
    inner->ShowModal(outer.get());
    log.push_back("back");
  };
  user->Plan({Click(outer->cmdOther), Click(inner->cmdOK), Click(outer->cmdOther),
              // The outer form goes first; the inner one stays until it is answered.
              [&] {
                EXPECT_TRUE(outer->Unload());
                user->Click(inner->cmdOther);
              },
              Click(inner->cmdCancel)});
  outer->ShowModal();
  EXPECT_EQ(TakeLog(), (Lines{"frmOuter load", "frmOuter activate", "frmInner load",
                              "frmInner activate", "frmInner ok", "back", "frmInner activate",
                              "frmOuter query", "frmOuter unload", "frmInner other",
                              "frmInner cancel", "frmInner query", "frmInner unload", "back"}));
}

TEST_P(UiConformance, AFormMayEndUnderItsOwnHandlerAndIsFreedThen) {
  auto form = NewForm();
  frmProbe& probe = *form;
  probe.cmdOther.OnClick = [&] {
    probe.Unload();
    log.push_back("still running");
  };
  probe.Show();
  form = nullptr;
  user->Plan({Click(probe.cmdOther)});
  user->Work(probe);
  EXPECT_EQ(TakeLog(), (Lines{"load", "activate", "query", "unload", "still running", "gone"}));
}

TEST_P(UiConformance, AFormShownWithoutBlockingIsWorkedWithAndComesForwardAgain) {
  const auto form = NewForm();
  form->Show();
  EXPECT_TRUE(form->IsVisible() && !form->IsModal());
  user->Plan({Click(form->chkMark)});
  user->Work(*form);
  form->Show();
  user->Plan({Click(form->cmdOK)});
  user->Work(*form);
  EXPECT_EQ(TakeLog(), (Lines{"load", "activate", "mark \"&Mark\" [x]", "activate", "ok"}));
}

TEST_P(UiConformance, BoxesAnswerWhatWasPressedAlsoInsideAHandler) {
  platform::Ui& ui = platform::Host().ui;
  for (const std::int32_t answer : {platform::kAnswerOk, platform::kAnswerCancel}) {
    user->PlanBox("Do it & more?", kAskBox, answer);
    EXPECT_EQ(ui.ShowBox("Do it & more?", kTitle, kAskBox), answer);
  }
  const auto form = NewForm();
  form->cmdOther.OnClick = [&] {
    EXPECT_EQ(ui.ShowBox("Done.", kTitle, platform::kBoxError), platform::kAnswerOk);
    form->Hide();
  };
  user->Plan({Click(form->cmdOther)});
  user->PlanBox("Done.", platform::kBoxError, platform::kAnswerOk);
  form->ShowModal();
  EXPECT_FALSE(user->HasSteps());
}

TEST_P(UiConformance, TheFocusIsWhereTheProgramOrTheUserPutsIt) {
  const auto form = NewForm();
  form->SetFocus(form->txtLine);
  user->Plan({[&] {
                EXPECT_EQ(form->Focus(), &form->txtLine);
                form->SetFocus(form->cmdOther);
                form->SetFocus(form->cmdOther);
                EXPECT_EQ(TakeLog(), (Lines{"load", "activate", "line left"}));
                user->Type(form->txtLine, "x");
              },
              Click(form->cmdOK)});
  form->ShowModal();
  EXPECT_EQ(TakeLog(), (Lines{"line x", "line left", "ok"}));
}

TEST_P(UiConformance, TimersTickWhileTheirFormIsLoadedAndTheyAreEnabled) {
  const auto form = NewForm();
  const auto ticks_in = [&](std::int32_t intervals) {
    for (std::int32_t i = 0; i < intervals; ++i) user->Pass(100);
    return TakeLog().size();
  };
  form->tmrTick.SetEnabled(true);
  EXPECT_EQ(ticks_in(2), 0U) << "not loaded";
  form->Load();
  TakeLog();
  EXPECT_EQ(ticks_in(3), 3U) << "loaded, though not shown";
  form->tmrTick.SetEnabled(false);
  EXPECT_EQ(ticks_in(2), 0U);
  form->tmrTick.SetEnabled(true);
  // A tick that lets events run brings no tick inside itself.
  form->tmrTick.OnTimer = [&] {
    log.push_back("tick");
    form->tmrTick.Tick();
  };
  EXPECT_EQ(ticks_in(2), 2U);
  form->tmrTick.OnTimer = [&] { form->Unload(); };
  user->Pass(100);
  EXPECT_EQ(TakeLog(), (Lines{"query", "unload"}));
  EXPECT_EQ(ticks_in(3), 0U);
}

}  // namespace corvessa::testing
