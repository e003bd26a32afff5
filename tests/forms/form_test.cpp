#include "ui/form.h"

#include "base/debug_info.h"
#include "base/guard.h"
#include "support/addin_fixture.h"
#include "ui/controls.h"

namespace corvessa {
namespace {

using Lines = std::vector<std::string>;

class frmProbe final : public Form {
 public:
  explicit frmProbe(Lines& log) : Form("frmProbe", "Probe", 200, 100), log_(log) {
    cmdOK.OnClick = [this] { log_.push_back("click"); };
    txtName.OnChange = [this] { log_.push_back("change"); };
    txtName.PutInto(fraBox);
  }
  ~frmProbe() override { log_.push_back("gone"); }

  CommandButton cmdOK{*this, "cmdOK", {7, 7, 75, 23}, "&Ok"};
  Frame fraBox{*this, "fraBox", {7, 40, 100, 50}, "Box"};
  TextBox txtName{*this, "txtName", {10, 50, 60, 21}};
  Timer tmrProbe{*this, "tmrProbe", 1000};
  bool refuse = false;

 private:
  void Form_Load() override { log_.push_back("load"); }
  void Form_Activate() override { log_.push_back("activate"); }
  void Form_QueryUnload(bool& cancel) override { cancel = refuse; }
  void Form_Unload() override { log_.push_back("unload"); }

  Lines& log_;
};

class FormModel : public testing::AddInFixture {
 protected:
  Lines log;
  std::shared_ptr<frmProbe> form = std::make_shared<frmProbe>(log);
};

TEST_F(FormModel, KeepsHidingClosingAndUnloadingApart) {
  ui.AllowForm("frmProbe");
  form->Show();
  form->Hide();
  EXPECT_TRUE(form->IsLoaded());
  EXPECT_FALSE(form->IsVisible());
  form->Show();
  form->refuse = true;
  EXPECT_FALSE(form->PressCloseBox());
  EXPECT_TRUE(form->IsVisible());
  form->refuse = false;
  EXPECT_TRUE(form->PressCloseBox());
  EXPECT_FALSE(form->IsLoaded());
  EXPECT_EQ(log, (Lines{"load", "activate", "activate", "unload"}));
}

TEST_F(FormModel, LivesWhileLoadedAndIsFreedWhenUnloadedUnderItsOwnHandler) {
  ui.AllowForm("frmProbe");
  form->Show();
  frmProbe& probe = *form;
  probe.cmdOK.OnClick = [&probe] { probe.Unload(); };
  form.reset();
  EXPECT_EQ(LoadedForms().size(), 1U);
  probe.cmdOK.Press();
  EXPECT_EQ(log, (Lines{"load", "activate", "unload", "gone"}));
  EXPECT_TRUE(LoadedForms().empty());
}

TEST_F(FormModel, ADisabledOrHiddenFrameBlocksItsChildrenWhateverTheirOwnFlagsSay) {
  form->fraBox.Enabled = false;
  form->txtName.Type("x");
  form->fraBox.Enabled = true;
  form->fraBox.Visible = false;
  form->txtName.Type("y");
  EXPECT_EQ(form->txtName.Text(), "");
  form->fraBox.Visible = true;
  form->txtName.Type("z");
  form->cmdOK.Enabled = false;
  form->cmdOK.Press();
  EXPECT_EQ(log, Lines{"change"});
}

TEST_F(FormModel, ATickInsideATickDoesNothing) {
  int ticks = 0;
  form->tmrProbe.OnTimer = [&] {
    ++ticks;
    form->tmrProbe.Tick();
  };
  form->tmrProbe.Tick();
  form->tmrProbe.Enabled = false;
  form->tmrProbe.Tick();
  EXPECT_EQ(ticks, 1);
}

TEST_F(FormModel, AHandlersErrorIsTracedAndGoesNoFurther) {
  g_bLogDebuggingInfo = true;
  AllowError("frmProbe::cmdOK_Click - ");
  form->cmdOK.OnClick = [] { Raise(kOverflow); };
  form->cmdOK.Press();
  EXPECT_EQ(Trace(), Lines{"frmProbe::cmdOK_Click - Overflow"});
}

}  // namespace
}  // namespace corvessa
