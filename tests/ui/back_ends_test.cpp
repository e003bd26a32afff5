#include <fcntl.h>
#include <optional>
#include <sstream>
#include <sys/ioctl.h>
#include <unistd.h>

#include "desk/terminal/answers.h"
#include "desk/terminal/choices.h"
#include "desk/terminal/form_drawing.h"
#include "desk/terminal/terminal.h"
#include "desk/terminal/terminal_ui.h"
#include "support/addin_fixture.h"
#include "ui/ui_conformance.h"

/// The scripted and the terminal back end in the conformance suite.
namespace corvessa::testing {
namespace {

/// The host that both stand on.
class Host : public AddInFixture {
 public:
  ~Host() override { TearDown(); }
  using AddInFixture::InstallHostWith;
  using AddInFixture::profile;
  using AddInFixture::ui;

 private:
  void TestBody() override {}
};

class ScriptedDriver final : public UiDriver {
 public:
  ScriptedDriver() {
    for (const char* name : {"frmProbe", "frmOuter", "frmInner"}) {
      host_.ui.AllowForm(name, [this](Form& form) {
        if (form.IsModal()) Work(form);
      });
    }
  }

  void Click(Control& control, int place) override {
    Form& form = control.Parent();
    if (control.TakesFocus()) form.SetFocus(control);
    desk::Click(control, place);
  }
  void Type(TextBox& box, std::string_view text) override {
    box.Parent().SetFocus(box);
    box.Type(text);
  }
  void PressEnter(Form& form) override { desk::DefaultButton(form)->Press(); }
  void PressEscape(Form& form) override { desk::CancelButton(form)->Press(); }
  void PressCloseBox(Form& form) override { form.PressCloseBox(); }
  void PlanBox(const std::string& text, std::int32_t flags, std::int32_t answer) override {
    if ((flags & platform::kBoxOkCancel) != 0) {
      host_.ui.ExpectBox(text, answer);
    } else {
      host_.ui.ExpectErrorBox(text);
    }
  }
  void Pass(std::int32_t milliseconds) override { host_.ui.Elapse(milliseconds); }
  void Work(Form& form) override {
    const FormPtr held = form.shared_from_this();
    while (form.IsVisible() && HasSteps()) RunStep();
  }
  void ExpectShown(Form& form) override { host_.ui.ExpectReported(form); }

 private:
  Host host_;
};

/// The person types a line whenever the terminal waits for one, having looked at the screen.
class TerminalDriver final : public UiDriver {
 public:
  TerminalDriver() {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    input_ = ends[0];
    keyboard_ = ends[1];
    terminal_.emplace(input_, screen_, true);
    desk::TerminalUiOptions options{messages_};
    options.now = [this] { return time_; };
    ui_ = std::make_unique<desk::TerminalUi>(*terminal_, answers_, std::move(options));
    terminal_->idle = [this, run = terminal_->idle] {
      LookAndType();
      return run();
    };
    host_->InstallHostWith(*ui_);
  }
  ~TerminalDriver() override {
    host_.reset();
    EXPECT_EQ(messages_.str(), "");
    for (const int descriptor : {input_, keyboard_, screen_}) close(descriptor);
  }

  void Click(Control& control, int place) override {
    if (!IsDrawn(control.Parent())) Write("?\n");
    const std::string key = desk::Choices(control.Parent()).KeyOf(control, place);
    if (!key.empty()) Write(key + "\n");
  }
  void Type(TextBox& box, std::string_view text) override {
    const std::string key = desk::Choices(box.Parent()).KeyOf(box);
    if (!key.empty()) Write(key + (box.IsPassword() ? "\n" : " ") + std::string(text) + "\n");
  }
  void PressEnter(Form& /*form*/) override { Write("\n"); }
  void PressEscape(Form& /*form*/) override { Write("esc\n"); }
  void PressCloseBox(Form& /*form*/) override { Write("close\n"); }
  void PlanBox(const std::string& text, std::int32_t flags, std::int32_t answer) override {
    Plan({[=, this] {
      const char* icon = (flags & platform::kBoxError) != 0 ? "(!) " : "(i) ";
      EXPECT_NE(Screen().find(icon + text), std::string::npos) << Screen();
      Write(answer == platform::kAnswerOk ? "ok\n" : "c\n");
    }});
  }
  void Pass(std::int32_t milliseconds) override {
    time_ += std::chrono::milliseconds(milliseconds);
    ui_->DoEvents();
  }
  void Work(Form& form) override {
    const FormPtr held = form.shared_from_this();
    Plan({[this, held] {
      if (held->IsVisible()) Write("leave\n");
    }});
    ui_->RunForm(form);
    if (!form.IsVisible()) steps_.clear();
  }
  void ExpectShown(Form& form) override {
    EXPECT_TRUE(IsDrawn(form)) << Screen() << "instead of\n" << Drawing(form);
  }

 private:
  std::string Drawing(const Form& form) const {
    const desk::Choices choices(form);
    return desk::DrawForm(form, &choices, terminal_->Columns());
  }
  bool IsDrawn(const Form& form) const {
    const std::string screen = Screen();
    const std::size_t last = screen.rfind("\u250C\u2500 " + form.Caption());
    return last != std::string::npos && screen.compare(last, std::string::npos, "") > 0 &&
           std::string_view(screen).substr(last).starts_with(Drawing(form));
  }
  void LookAndType() {
    int unread = 0;
    EXPECT_EQ(ioctl(input_, FIONREAD, &unread), 0);
    while (unread == 0 && keyboard_ >= 0) {
      if (Screen().ends_with("(Enter for other choices): ")) {
        Write("\n");
      } else if (HasSteps()) {
        RunStep();
      } else {
        ADD_FAILURE() << "the terminal waits, but nothing is planned:\n" << Screen();
        close(std::exchange(keyboard_, -1));
      }
      EXPECT_EQ(ioctl(input_, FIONREAD, &unread), 0);
    }
  }
  void Write(const std::string& text) const {
    EXPECT_EQ(write(keyboard_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  std::string Screen() const { return ContentOf(host_->profile / "screen"); }

  std::unique_ptr<Host> host_ = std::make_unique<Host>();
  int screen_ = open((host_->profile / "screen").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  int input_ = -1;
  int keyboard_ = -1;
  std::ostringstream messages_;
  desk::Answers answers_;
  desk::TimerDriver::Time time_{};
  std::optional<desk::Terminal> terminal_;
  std::unique_ptr<desk::TerminalUi> ui_;
};

template <typename Driver>
UiDriverFactory Make() {
  return [] { return std::make_unique<Driver>(); };
}

INSTANTIATE_TEST_SUITE_P(Scripted, UiConformance, ::testing::Values(Make<ScriptedDriver>()));
INSTANTIATE_TEST_SUITE_P(Terminal, UiConformance, ::testing::Values(Make<TerminalDriver>()));

}  // namespace
}  // namespace corvessa::testing
