#pragma once

#include <fcntl.h>
#include <optional>
#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>

#include "desk/terminal/answers.h"
#include "desk/terminal/terminal.h"
#include "desk/terminal/terminal_ui.h"
#include "forms/controls.h"
#include "forms/form.h"
#include "forms/list_controls.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {

/// The terminal's Ui as the host's, with a person whose lines are all typed beforehand, or nobody.
class TerminalTest : public AddInFixture {
 protected:
  TerminalTest() { Start(open("/dev/null", O_RDONLY | O_CLOEXEC), false); }
  ~TerminalTest() override {
    close(input_);
    close(output_);
  }

  /// A person sits there from now on and types these lines, then leaves.
  void Sit(std::string_view lines) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    ASSERT_EQ(write(ends[1], lines.data(), lines.size()), static_cast<ssize_t>(lines.size()));
    close(ends[1]);
    Start(ends[0], true);
  }
  /// What was drawn since the last call.
  std::string Drawn() {
    std::string text(static_cast<std::size_t>(lseek(output_, 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(output_, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    EXPECT_EQ(ftruncate(output_, 0), 0);
    lseek(output_, 0, SEEK_SET);
    return text;
  }
  desk::TerminalUi& Ui() { return *ui_; }

  std::ostringstream messages;
  desk::Answers answers;
  /// What the Ui takes for the time.
  desk::TimerDriver::Time time{};

 private:
  void Start(int input, bool is_there) {
    if (input_ >= 0) close(input_);
    input_ = input;
    terminal_.emplace(input_, output_, is_there);
    desk::TerminalUiOptions options{messages};
    options.load_picture = [this](std::string_view path) { return ui.LoadPicture(path); };
    options.now = [this] { return time; };
    const auto last = std::exchange(
        ui_, std::make_unique<desk::TerminalUi>(*terminal_, answers, std::move(options)));
    InstallHostWith(*ui_);
  }

  int output_ = open((profile / "drawn").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  int input_ = -1;
  std::optional<desk::Terminal> terminal_;
  std::unique_ptr<desk::TerminalUi> ui_;
};

/// A form with one control of every kind, laid out as a settings dialog is.
class frmAll final : public Form {
 public:
  frmAll() : Form("frmAll", "All & everything", 400, 300) {
    lstRows.AddRow("first");
    lstRows.AddRow("second");
    chkOff.Enabled = false;
    optPick[0].PutInto(fraPick);
    optPick[1].PutInto(fraPick);
    cmdOK.Default = true;
    cmdCancel.Cancel = true;
    tmrTick.OnTimer = [this] { ++ticks; };
    cmdOK.OnClick = [this] { Unload(); };
    cmdCancel.OnClick = [this] { Hide(); };
    cmdAdd.OnClick = [this] { lstRows.AddRow("added"); };
  }

  TabStrip tbsTabs{*this, "tbsTabs", {0, 0, 400, 250}, {"One", "Two"}};
  TextBox txtLine{*this, "txtLine", {100, 30, 80, 21}};
  ListBox lstRows{*this, "lstRows", {10, 60, 200, 80}, true};
  CommandButton cmdAdd{*this, "cmdAdd", {220, 60, 75, 23}, "&Add"};
  CheckBox chkOn{*this, "chkOn", {10, 190, 100, 17}, "&Sign && send"};
  CheckBox chkOff{*this, "chkOff", {10, 210, 100, 17}, "&Off"};
  Frame fraPick{*this, "fraPick", {10, 230, 300, 40}, "Pick"};
  OptionButton optPick[2]{{*this, "optPick", 0, {12, 240, 50, 17}, "Yes"},
                          {*this, "optPick", 1, {80, 240, 50, 17}, "No"}};
  CommandButton cmdOK{*this, "cmdOK", {10, 275, 75, 23}, "&Ok"};
  CommandButton cmdCancel{*this, "cmdCancel", {100, 275, 75, 23}, "&Abort"};
  Timer tmrTick{*this, "tmrTick", 100};
  int ticks = 0;
};

}  // namespace corvessa::testing
