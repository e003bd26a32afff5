#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "accounts/user_management.h"
#include "desk/outlook/outlook_model.h"
#include "desk/profile/memory_clipboard.h"
#include "desk/profile/profile_files.h"
#include "desk/profile/registry_file.h"
#include "desk/terminal/answers.h"
#include "desk/terminal/terminal.h"
#include "desk/terminal/terminal_ui.h"
#include "support/scripted_engine.h"
#include "support/temp_folder.h"
#include "support/test_services.h"

namespace corvessa::testing {

/// The terminal's Ui as the host's, with a person whose lines are all typed beforehand, or nobody.
class TerminalTest : public ::testing::Test {
 protected:
  TerminalTest();
  ~TerminalTest() override;

  /// A person sits there from now on and types these lines, then leaves.
  void Sit(std::string_view lines);
  /// What was drawn since the last call.
  std::string Drawn();
  std::string Reported() { return messages.str(); }
  /// Every box as "name|caption|text|answer".
  std::vector<std::string> Boxes() const;
  desk::TerminalUi& Ui() { return *ui_; }
  static void SecureAddresses(const std::vector<std::string>& addresses);
  /// What the passphrase prompt gives, as "address passphrase"; "none" when it was closed.
  static std::string Login(LoginReason reason = LoginReason::kFirstRequest);

  TempFolder profile;
  std::ostringstream messages;
  desk::Answers answers;
  /// What the Ui takes for the time, and how far each look at it moves it on.
  desk::TimerDriver::Time time{};
  std::chrono::milliseconds step{0};

 private:
  void Start(int input, bool is_there);

  desk::ProfileFiles files_{profile / "drive_c"};
  desk::RegistryFile registry_{profile / "registry.reg"};
  desk::MemoryClipboard clipboard_;
  TestClock clock_;
  TestShell shell_;
  ScriptedInet inet_;
  ScriptedEngineFactory engine_;
  desk::OutlookModel outlook_;
  int output_;
  int input_ = -1;
  std::optional<desk::Terminal> terminal_;
  std::unique_ptr<desk::TerminalUi> ui_;
};

}  // namespace corvessa::testing
