#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ui/controls.h"
#include "ui/form.h"
#include "ui/list_controls.h"

namespace corvessa::testing {

/// A Ui back end with a person in front of it, who does one thing each time that the back end waits
/// for input. From construction to destruction its host is installed.
///
/// A back end joins the suite by implementing this and instantiating UiConformance with a factory
/// of it, in a program that links ui_conformance.cpp.
class UiDriver {
 public:
  using Step = std::function<void()>;
  virtual ~UiDriver() = default;

  /// What the person does next. Each step calls one of the operations below at most; all of them
  /// are the user's input into the form that is in front.
  void Plan(std::initializer_list<Step> steps) {
    steps_.insert(steps_.end(), steps.begin(), steps.end());
  }
  bool HasSteps() const { return !steps_.empty(); }

  /// Clicks the control, or the row (from 0) or tab (from 1) of it, with the mouse; does nothing
  /// where the back end offers no such click.
  virtual void Click(Control& control, int place = -1) = 0;
  /// Goes to the box and replaces its text.
  virtual void Type(TextBox& box, std::string_view text) = 0;
  virtual void PressEnter(Form& form) = 0;
  virtual void PressEscape(Form& form) = 0;
  virtual void PressCloseBox(Form& form) = 0;
  /// The next message box has that text and is answered so. It joins the planned steps.
  virtual void PlanBox(const std::string& text, std::int32_t flags, std::int32_t answer) = 0;
  /// Lets that much time pass, with nothing else to do.
  virtual void Pass(std::int32_t milliseconds) = 0;
  /// Works with a form that is shown without blocking, as far as the plan goes.
  virtual void Work(Form& form) = 0;
  /// Fails the test unless the form is shown as its model is now. For a form that is in front.
  virtual void ExpectShown(Form& form) = 0;

 protected:
  /// Fails the test when there is none.
  void RunStep() {
    if (steps_.empty()) {
      ADD_FAILURE() << "the back end waits, but nothing is planned";
      return;
    }
    const Step step = std::move(steps_.front());
    steps_.pop_front();
    step();
  }

  std::deque<Step> steps_;
};

using UiDriverFactory = std::function<std::unique_ptr<UiDriver>()>;

/// One control of every kind. Writes everything that happens to it into a log, behind its name when
/// it has another.
class frmProbe final : public Form {
 public:
  explicit frmProbe(std::vector<std::string>& log, std::string name = "frmProbe");
  ~frmProbe() override { Note("gone"); }

  Label lblPrompt{*this, "lblPrompt", {10, 5, 200, 13}, "Prompt:"};
  TextBox txtLine{*this, "txtLine", {10, 20, 200, 21}};
  TextBox txtSecret{*this, "txtSecret", {10, 45, 200, 21}, TextBox::Kind::kPassword};
  TextBox txtLog{*this, "txtLog", {10, 70, 200, 40}, TextBox::Kind::kLog};
  ListBox lstMarks{*this, "lstMarks", {10, 115, 200, 40}, true};
  ComboBox cmbUsers{*this, "cmbUsers", {10, 160, 200, 21}};
  ListView lvwRows{*this, "lvwRows", {220, 115, 170, 60}};
  TabStrip tbsTabs{*this, "tbsTabs", {220, 20, 170, 90}, {"One", "Two"}};
  CheckBox chkMark{*this, "chkMark", {10, 185, 100, 17}, "&Mark"};
  Frame fraPick{*this, "fraPick", {10, 205, 380, 40}, "Pick"};
  OptionButton optPick[2]{{*this, "optPick", 0, {20, 222, 80, 17}, "Yes"},
                          {*this, "optPick", 1, {110, 222, 80, 17}, "No"}};
  ProgressBar pgbDone{*this, "pgbDone", {10, 250, 380, 16}};
  CommandButton cmdOK{*this, "cmdOK", {10, 270, 75, 23}, "&Ok"};
  CommandButton cmdCancel{*this, "cmdCancel", {90, 270, 75, 23}, "&Cancel"};
  CommandButton cmdOther{*this, "cmdOther", {170, 270, 75, 23}, "O&ther"};
  Timer tmrTick{*this, "tmrTick", 100};
  bool refuses = false;

 private:
  void Note(std::string_view event) {
    log_.push_back((Name() == "frmProbe" ? "" : Name() + " ") + std::string(event));
  }
  void Form_Load() override { Note("load"); }
  void Form_Activate() override { Note("activate"); }
  void Form_QueryUnload(bool& cancel) override {
    Note("query");
    cancel = refuses;
  }
  void Form_Unload() override { Note("unload"); }

  std::vector<std::string>& log_;
};

/// The cases that every back end passes.
class UiConformance : public ::testing::TestWithParam<UiDriverFactory> {
 protected:
  std::shared_ptr<frmProbe> NewForm(const std::string& name = "frmProbe") {
    return std::make_shared<frmProbe>(log, name);
  }
  /// Steps of the plan that do one thing.
  UiDriver::Step Click(Control& control, int place = -1) {
    return [this, &control, place] { user->Click(control, place); };
  }
  UiDriver::Step Type(TextBox& box, std::string text) {
    return [this, &box, typed = std::move(text)] { user->Type(box, typed); };
  }
  /// What was logged since the last call.
  std::vector<std::string> TakeLog() { return std::exchange(log, {}); }

  std::vector<std::string> log;
  std::unique_ptr<UiDriver> user = GetParam()();
};

}  // namespace corvessa::testing
